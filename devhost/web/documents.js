// The module's documents. Some are written by hand and escape nothing, so a
// text that JSON.parse refuses is read leniently where its form allows.

export function parseDocument(text) {
  try {
    return JSON.parse(text);
  } catch {
    return null;
  }
}

// A "viewable" document: {"viewable": {"name", "idpath", "viewableType", "pngb64"?, "index"}}.
export function parseViewable(text) {
  const parsed = parseDocument(text);
  if (parsed?.viewable) return parsed.viewable;
  const field = (key) => text.match(new RegExp(`"${key}": "([^"]*)"`))?.[1];
  return { name: field('name'), idpath: field('idpath'), viewableType: field('viewableType'),
           pngb64: field('pngb64'), index: field('index') };
}

// A colour text as the host writes it (0xRRGGBBAA), as a CSS colour.
export function cssColor(hex) {
  const value = Number.parseInt(hex, 16);
  if (!Number.isFinite(value) || (value & 0xff) === 0) return null;
  const r = (value >>> 24) & 0xff, g = (value >>> 16) & 0xff, b = (value >>> 8) & 0xff;
  return `rgb(${r},${g},${b})`;
}

export function hexColor(cssHex) {
  return `0x${cssHex.slice(1)}ff`;
}
