// The structure tree as a WAI-ARIA tree view. Only the rows in sight are in
// the page, so a tree of a hundred thousand nodes scrolls as one of ten;
// focus stays on the tree itself and names its row by
// aria-activedescendant, so it survives rows being drawn again.
//
// Two selections show here: the tree's own (rows the user picked, the
// argument of Paint and Read colour) and the viewer's (the host's scene
// selection), marked apart.

import { HIDING_STATES, STATE_NAMES, STATES } from './treeModel.js';

const ROW = 24;
const TYPE_AHEAD_MS = 700;

// One icon per visibility state: an eye when the node itself shows, its
// fill telling how much of the branch below shows.
export const ICONS = {
  0: '<circle cx="9" cy="9" r="3" fill="#cbd2dc"/>',
  1: '<circle cx="9" cy="9" r="6" fill="#2f9e44"/><circle cx="9" cy="9" r="2.5" fill="#fff"/>',
  2: '<circle cx="9" cy="9" r="6" fill="none" stroke="#8a96a8" stroke-width="1.5"/>',
  3: '<circle cx="9" cy="9" r="6" fill="#2f9e44"/><path d="M9 3a6 6 0 0 1 0 12z" fill="#b7e4c0"/>',
  4: '<circle cx="9" cy="9" r="6" fill="none" stroke="#8a96a8" stroke-width="1.5"/><path d="M9 3a6 6 0 0 1 0 12z" fill="#b7e4c0"/>',
  5: '<circle cx="9" cy="9" r="6" fill="#2f9e44"/>',
  6: '<circle cx="9" cy="9" r="6" fill="none" stroke="#2f9e44" stroke-width="1.5" stroke-dasharray="2 2"/><circle cx="9" cy="9" r="3" fill="#2f9e44"/>',
  7: '<rect x="3" y="4" width="12" height="10" rx="2" fill="#7c3aed"/><rect x="5" y="6" width="8" height="6" fill="#ddd6fe"/>',
  8: '<circle cx="9" cy="9" r="6" fill="#f59f00"/><circle cx="9" cy="9" r="2.5" fill="#fff"/>',
  9: '<path d="M4 4l10 10M14 4L4 14" stroke="#e03131" stroke-width="2"/>',
};

export function stateTitle(state) {
  return STATE_NAMES[state] ? `${STATE_NAMES[state]}: ${STATES[state]}` : 'No state reported yet';
}

export class TreeView {
  // callbacks: onToggleVisibility(node, others), onExpand(nodes),
  // onSelect(primary, selected), onMenu(node, x, y), onSearch(matches|null),
  // onUnstated(nodes): rows drawn that have no state yet
  constructor(element, model, callbacks) {
    this.element = element;
    this.model = model;
    this.callbacks = callbacks;
    this.spacer = element.querySelector('.tree-spacer');
    this.layer = element.querySelector('.tree-rows');
    this.rows = model.visibleRows();
    this.selected = new Set();
    this.primary = null;  // the focused row's node, and the anchor of Shift ranges' moving end
    this.anchor = null;
    this.hostSelected = new Set();  // idpaths of the viewer's selection
    this.filterText = '';
    this.keep = null;
    this.typed = '';
    this.typedAt = 0;
    this.pending = false;
    element.setAttribute('role', 'tree');
    element.setAttribute('aria-multiselectable', 'true');
    element.addEventListener('scroll', () => this.draw());
    new ResizeObserver(() => this.draw()).observe(element);
    this.layer.addEventListener('click', (event) => this.click(event));
    this.layer.addEventListener('contextmenu', (event) => this.contextMenu(event));
    element.addEventListener('keydown', (event) => this.key(event));
    element.addEventListener('focus', () => {
      if (!this.primary && this.rows.length) this.focusRow(0, false);
    });
  }

  // Layout again on the next frame; many documents in a row cost one layout.
  refresh(shapeChanged = true) {
    if (shapeChanged) this.stale = true;
    if (this.pending) return;
    this.pending = true;
    requestAnimationFrame(() => {
      this.pending = false;
      if (this.stale) this.layout();
      this.draw();
    });
  }

  layout() {
    if (this.filterText) this.keep = this.model.filter(this.filterText).keep;
    this.rows = this.model.visibleRows(this.filterText ? this.keep : null);
    this.spacer.style.height = `${this.rows.length * ROW}px`;
    this.stale = false;
    for (const node of this.selected) if (!this.model.holds(node)) this.selected.delete(node);
    if (this.primary && !this.model.holds(this.primary)) this.primary = null;
  }

  // Narrows the rows to names holding text; "" shows the tree as opened.
  search(text) {
    this.filterText = text.trim();
    let matches = null;
    if (this.filterText) {
      const found = this.model.filter(this.filterText);
      this.keep = found.keep;
      matches = found.matches;
    } else {
      this.keep = null;
    }
    this.layout();
    this.element.scrollTop = 0;
    this.draw();
    return matches;
  }

  setHostSelection(idpaths) {
    this.hostSelected = new Set(idpaths);
    this.draw();
  }

  draw() {
    if (!this.rows.current) this.layout();
    const top = this.element.scrollTop;
    const first = Math.max(0, Math.floor(top / ROW) - 10);
    const last = Math.min(this.rows.length, Math.ceil((top + this.element.clientHeight) / ROW) + 10);
    const html = [];
    const unstated = [];
    const setSize = (node) => (node.parent ? node.parent.childCount : this.model.rootCount);
    for (let i = first; i < last; i++) {
      const node = this.rows.node(i);
      const depth = this.rows.depth(i);
      const name = escapeHtml(node.name);
      const classes = ['row'];
      const selected = this.selected.has(node);
      const inViewer = this.hostSelected.has(node.idpath);
      if (selected) classes.push('selected');
      if (node === this.primary) classes.push('focused');
      if (inViewer) classes.push('in-viewer');
      const state = ICONS[node.state] ? node.state : 0;
      if (!state) unstated.push(node);
      const expandable = node.expandable;
      const open = expandable && (node.expanded || (Boolean(this.filterText) && node.childCount > 0));
      const attributes = [
        `role="treeitem" id="tn-${node.id}" aria-label="${name}" aria-level="${depth + 1}"`,
        `aria-setsize="${setSize(node)}" aria-posinset="${this.rows.place(i)}" aria-selected="${selected}"`,
        expandable ? `aria-expanded="${open}"` : '',
        inViewer ? 'aria-description="selected in the viewer"' : '',
      ].join(' ');
      const twisty = expandable
        ? `<button class="twisty" tabindex="-1" aria-label="${open ? 'Collapse' : 'Expand'} ${name}">${open ? '▾' : '▸'}</button>`
        : '<span class="twisty"></span>';
      const eye = `<button class="vis" tabindex="-1" aria-label="${HIDING_STATES.has(state) ? 'Hide' : 'Show'} ${name}" title="${escapeHtml(stateTitle(state))}" data-state="${state}">`
        + `<svg viewBox="0 0 18 18" aria-hidden="true">${ICONS[state]}</svg></button>`;
      html.push(`<div class="${classes.join(' ')}" ${attributes} data-row="${i}" style="top:${i * ROW}px;padding-left:${depth * 16 + 2}px">`
        + twisty + eye
        + `<span class="name">${this.highlight(node.name)}</span>`
        + (node.unread ? `<span class="note" title="${node.proxy === 'failed' ? 'The host failed to read this branch' : 'A branch the host has not read yet'}">${node.proxy === 'failed' ? 'could not be read' : 'not read'}</span>` : '')
        + (node.childCount ? `<span class="type" aria-hidden="true">${node.childCount}</span>` : '')
        + (inViewer ? '<span class="viewer-mark" title="Selected in the viewer" aria-hidden="true">◆</span>' : '')
        + '</div>');
    }
    this.layer.innerHTML = html.join('');
    if (unstated.length) this.callbacks.onUnstated?.(unstated);
    const focused = this.rows.indexOf(this.primary);
    if (focused >= first && focused < last)
      this.element.setAttribute('aria-activedescendant', `tn-${this.primary.id}`);
    else
      this.element.removeAttribute('aria-activedescendant');
  }

  highlight(name) {
    if (!this.filterText) return escapeHtml(name);
    const at = name.toLowerCase().indexOf(this.filterText.toLowerCase());
    if (at < 0) return escapeHtml(name);
    const end = at + this.filterText.length;
    return `${escapeHtml(name.slice(0, at))}<mark>${escapeHtml(name.slice(at, end))}</mark>${escapeHtml(name.slice(end))}`;
  }

  rowIndex(node) {
    return this.rows.indexOf(node);
  }

  // ---- selection and focus ---------------------------------------------------

  // Moves focus to a row; select: 'only' (it alone), 'toggle', 'range' or false.
  focusRow(index, select = 'only') {
    if (!this.rows.length) return;
    index = Math.max(0, Math.min(this.rows.length - 1, index));
    const node = this.rows.node(index);
    if (select === 'only') {
      this.selected = new Set([node]);
      this.anchor = node;
    } else if (select === 'toggle') {
      if (this.selected.has(node)) this.selected.delete(node);
      else this.selected.add(node);
      this.anchor = node;
    } else if (select === 'range') {
      const from = this.anchor ? this.rowIndex(this.anchor) : index;
      const [low, high] = from <= index ? [Math.max(0, from), index] : [index, from];
      this.selected = new Set(this.rows.between(low, high));
    }
    this.primary = node;
    this.scrollTo(index);
    this.draw();
    if (select) this.callbacks.onSelect(this.primary, [...this.selected]);
  }

  scrollTo(index) {
    const top = index * ROW;
    const { scrollTop, clientHeight } = this.element;
    if (top < scrollTop) this.element.scrollTop = top;
    else if (top + ROW > scrollTop + clientHeight) this.element.scrollTop = top + ROW - clientHeight;
  }

  toggle(node, open = !node.expanded) {
    if (!node.expandable || node.expanded === open) return;
    node.expanded = open;
    // An unread branch opens by being read, as showing it reads it.
    if (open && node.unread) this.callbacks.onReadProxy(node);
    else if (open) this.callbacks.onExpand([node]);
    this.layout();
    this.draw();
  }

  expandAll() {
    const opened = [];
    for (const node of this.model.expandable()) {
      if (node.expanded) continue;
      node.expanded = true;
      opened.push(node);
    }
    if (opened.length) this.callbacks.onExpand(opened);
    this.layout();
    this.draw();
  }

  collapseAll() {
    this.model.collapseAll();
    this.layout();
    this.element.scrollTop = 0;
    this.draw();
  }

  // Shows a node: its ancestors open and its row focused in sight.
  reveal(node, select = false) {
    for (let up = node.parent; up; up = up.parent) up.expanded = true;
    this.layout();
    const index = this.rowIndex(node);
    if (index >= 0) this.focusRow(index, select ? 'only' : false);
  }

  // ---- mouse -----------------------------------------------------------------

  click(event) {
    const rowElement = event.target.closest('.row');
    if (!rowElement) return;
    const index = Number(rowElement.dataset.row);
    const node = this.rows.node(index);
    this.element.focus({ preventScroll: true });
    if (event.target.closest('.twisty')) {
      this.primary = node;
      this.toggle(node);
    } else if (event.target.closest('.vis')) {
      this.primary = node;
      this.draw();
      this.callbacks.onToggleVisibility(node, [...this.selected].filter((other) => other !== node));
    } else if (event.shiftKey) {
      this.focusRow(index, 'range');
    } else {
      this.focusRow(index, event.ctrlKey || event.metaKey ? 'toggle' : 'only');
    }
  }

  contextMenu(event) {
    const rowElement = event.target.closest('.row');
    if (!rowElement) return;
    event.preventDefault();
    const index = Number(rowElement.dataset.row);
    const node = this.rows.node(index);
    this.focusRow(index, this.selected.has(node) ? false : 'only');
    this.callbacks.onMenu(node, event.clientX, event.clientY);
  }

  // ---- keyboard --------------------------------------------------------------

  key(event) {
    if (!this.rows.length) return;
    const index = this.primary ? Math.max(0, this.rowIndex(this.primary)) : 0;
    const node = this.rows.node(index);
    const move = (to) => this.focusRow(to, event.shiftKey ? 'range' : event.ctrlKey || event.metaKey ? false : 'only');
    const page = Math.max(1, Math.floor(this.element.clientHeight / ROW) - 1);
    switch (event.key) {
      case 'ArrowDown': move(index + 1); break;
      case 'ArrowUp': move(index - 1); break;
      case 'PageDown': move(index + page); break;
      case 'PageUp': move(index - page); break;
      case 'Home': move(0); break;
      case 'End': move(this.rows.length - 1); break;
      case 'ArrowRight':
        if (node.expandable && !node.expanded && !this.filterText) this.toggle(node, true);
        else if (node.childCount && (node.expanded || this.filterText)) move(index + 1);
        break;
      case 'ArrowLeft':
        if (node.expanded && !this.filterText) this.toggle(node, false);
        else if (node.parent) move(this.rowIndex(node.parent));
        break;
      case 'Enter':
        this.callbacks.onToggleVisibility(node, [...this.selected].filter((other) => other !== node));
        break;
      case ' ':
        this.focusRow(index, event.shiftKey ? 'range' : 'toggle');
        break;
      case 'ContextMenu':
        this.openMenuAtFocus();
        break;
      case 'F10':
        if (!event.shiftKey) return;
        this.openMenuAtFocus();
        break;
      case '*':
        for (const sibling of node.parent ? node.parent.children : this.model.roots) this.toggle(sibling, true);
        break;
      case 'a':
        if (!(event.ctrlKey || event.metaKey)) return this.typeAhead(event);
        this.selected = new Set(this.rows.between(0, this.rows.length - 1));
        this.draw();
        this.callbacks.onSelect(this.primary, [...this.selected]);
        break;
      default:
        return this.typeAhead(event);
    }
    event.preventDefault();
  }

  openMenuAtFocus() {
    if (!this.primary) return;
    const row = this.layer.querySelector(`#tn-${CSS.escape(String(this.primary.id))}`);
    const box = (row ?? this.element).getBoundingClientRect();
    this.callbacks.onMenu(this.primary, box.left + 40, box.bottom);
  }

  // Letters typed in a short time find the next row whose name starts so.
  typeAhead(event) {
    if (event.key.length !== 1 || event.ctrlKey || event.metaKey || event.altKey) return;
    const now = performance.now();
    this.typed = now - this.typedAt > TYPE_AHEAD_MS ? event.key : this.typed + event.key;
    this.typedAt = now;
    const wanted = this.typed.toLowerCase();
    const start = this.primary ? this.rowIndex(this.primary) : -1;
    const from = this.typed.length === 1 ? start + 1 : Math.max(0, start);
    for (let step = 0; step < this.rows.length; step++) {
      const i = (from + step) % this.rows.length;
      if (this.model.name(this.rows.nodes[i]).toLowerCase().startsWith(wanted)) {
        this.focusRow(i, 'only');
        break;
      }
    }
    event.preventDefault();
  }
}

export function escapeHtml(text) {
  return String(text).replace(/[&<>"]/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' }[c]));
}
