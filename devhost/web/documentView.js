// The module's documents shown for reading: objects as nested lists of
// keys and values, colours as swatches, with a toggle to the raw text that
// the module sent.

import { cssColor, parseDocument } from './documents.js';

// The module writes 0xRRGGBBAA without the leading zeros of the number.
const COLOR_TEXT = /^0x[0-9a-fA-F]{1,8}$/;

// A swatch and the colour's text, for a text such as "0xRRGGBBAA".
export function colorSwatch(text) {
  const span = document.createElement('span');
  span.className = 'color-value';
  const swatch = document.createElement('span');
  swatch.className = 'swatch';
  const css = COLOR_TEXT.test(text) ? cssColor(text) : null;
  if (css) swatch.style.background = css;
  else swatch.classList.add('none');
  swatch.setAttribute('role', 'img');
  swatch.setAttribute('aria-label', css ? `colour ${css}` : 'no colour');
  span.append(swatch, text);
  return span;
}

// Fills container with the document text, formatted when it reads as JSON.
export function showDocument(container, text, title = 'Document') {
  container.textContent = '';
  if (text === null || text === undefined || text === '') {
    container.append(Object.assign(document.createElement('p'), { className: 'muted', textContent: '(empty)' }));
    return;
  }
  const parsed = parseDocument(String(text));
  const raw = Object.assign(document.createElement('pre'), { className: 'doc raw', textContent: String(text) });
  if (parsed === null || typeof parsed !== 'object') {
    container.append(raw);
    return;
  }
  const formatted = document.createElement('div');
  formatted.className = 'doc formatted';
  formatted.setAttribute('aria-label', title);
  formatted.append(valueElement(parsed));
  const toggle = document.createElement('button');
  toggle.type = 'button';
  toggle.className = 'raw-toggle';
  toggle.setAttribute('aria-pressed', 'false');
  toggle.textContent = 'Raw text';
  raw.hidden = true;
  toggle.addEventListener('click', () => {
    const showRaw = raw.hidden;
    raw.hidden = !showRaw;
    formatted.hidden = showRaw;
    toggle.setAttribute('aria-pressed', String(showRaw));
  });
  container.append(toggle, formatted, raw);
}

function valueElement(value) {
  if (Array.isArray(value)) {
    if (!value.length) return muted('(none)');
    const list = document.createElement('ol');
    list.className = 'doc-list';
    for (const item of value) {
      const entry = document.createElement('li');
      entry.append(valueElement(item));
      list.append(entry);
    }
    return list;
  }
  if (value && typeof value === 'object') {
    const table = document.createElement('dl');
    table.className = 'doc-object';
    for (const [key, item] of Object.entries(value)) {
      table.append(Object.assign(document.createElement('dt'), { textContent: key }));
      const cell = document.createElement('dd');
      cell.append(valueElement(item));
      table.append(cell);
    }
    return table;
  }
  if (typeof value === 'string' && COLOR_TEXT.test(value)) return colorSwatch(value);
  if (value === null) return muted('null');
  return document.createTextNode(String(value));
}

function muted(text) {
  return Object.assign(document.createElement('span'), { className: 'muted', textContent: text });
}
