// Draws the host's scene as the viewer would show it: every shape instance
// of the active view's scene as a box, in its colour, hidden ones as faint
// outlines. World files give no geometry for boxes, so the boxes are laid
// out by structure: one column per assembly under the root, its shapes in a
// grid in idpath order.

import { cssColor } from './documents.js';

const PALETTE = ['#8aa4c8', '#9cc5a1', '#d7b98e', '#c9a2c8', '#a7c4d6', '#d6a7a7', '#b5b5d6', '#c8c48a'];

export class Viewer {
  constructor(canvas, caption) {
    this.canvas = canvas;
    this.caption = caption;
    this.shapes = [];
    this.highlight = [];
    this.boxes = [];
    new ResizeObserver(() => this.draw()).observe(canvas);
  }

  show(sceneName, shapes, total = shapes.length) {
    this.sceneName = sceneName;
    this.total = total;
    this.shapes = shapes.slice().sort((a, b) => (a.idpath < b.idpath ? -1 : a.idpath > b.idpath ? 1 : 0));
    this.draw();
  }

  // Idpaths whose branches are drawn highlighted.
  select(idpaths) {
    this.highlight = idpaths;
    this.draw();
  }

  draw() {
    const { canvas } = this;
    const ratio = devicePixelRatio || 1;
    const width = canvas.clientWidth, height = canvas.clientHeight;
    if (!width || !height) return;
    canvas.width = width * ratio;
    canvas.height = height * ratio;
    const g = canvas.getContext('2d');
    g.scale(ratio, ratio);
    g.clearRect(0, 0, width, height);

    const groups = new Map();
    for (const shape of this.shapes) {
      const parts = shape.idpath.split('/');
      const key = parts.slice(0, Math.min(2, parts.length - 1) || 1).join('/');
      if (!groups.has(key)) groups.set(key, []);
      groups.get(key).push(shape);
    }
    const margin = 12, gap = 10, title = 16;
    const columns = Math.max(1, groups.size);
    const columnWidth = (width - 2 * margin - gap * (columns - 1)) / columns;
    let visible = 0, column = 0;
    const highlighted = (idpath) => this.highlight.some((path) => idpath === path || idpath.startsWith(`${path}/`));
    for (const [key, members] of groups) {
      const x0 = margin + column * (columnWidth + gap);
      // The largest cell whose grid fits the column.
      const room = Math.max(1, height - 2 * margin - title);
      let cell = Math.min(48, Math.sqrt((columnWidth * room) / members.length));
      const fits = (size) => Math.ceil(members.length / Math.max(1, Math.floor(columnWidth / size))) * size <= room;
      while (cell > 0.5 && !fits(cell)) cell *= 0.95;
      const perRow = Math.max(1, Math.floor(columnWidth / cell));
      const box = Math.max(1, cell - (cell > 6 ? 3 : 0));
      g.fillStyle = '#4a5568';
      g.font = '11px system-ui, sans-serif';
      g.fillText(key.slice(key.lastIndexOf('/') + 1), x0, margin + 10, columnWidth);
      members.forEach((shape, i) => {
        const x = x0 + (i % perRow) * cell;
        const y = margin + title + Math.floor(i / perRow) * cell;
        const fill = (shape.painted && cssColor(shape.color)) || PALETTE[column % PALETTE.length];
        if (shape.visible) {
          visible++;
          g.fillStyle = fill;
          g.fillRect(x, y, box, box);
        } else if (box > 2) {
          g.strokeStyle = '#d5dbe3';
          g.lineWidth = 1;
          g.strokeRect(x + 0.5, y + 0.5, box - 1, box - 1);
        }
        if (box > 3 && this.highlight.length && highlighted(shape.idpath)) {
          g.strokeStyle = '#1d4ed8';
          g.lineWidth = 2;
          g.strokeRect(x + 1, y + 1, box - 2, box - 2);
        }
      });
      column++;
    }
    this.caption.textContent = this.sceneName
      ? `${this.sceneName}: ${visible} of ${this.shapes.length} shapes shown`
        + (this.total > this.shapes.length ? ` (the first ${this.shapes.length} of ${this.total} drawn)` : '')
      : 'no active shape view';
    this.canvas.dataset.visible = String(visible);
  }
}
