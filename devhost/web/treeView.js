// A virtualised view of the tree: only the rows in sight are in the page,
// so a tree of a hundred thousand nodes scrolls as one of ten.

const ROW = 22;

// One icon per visibility state: an eye when the node itself shows, its
// fill telling how much of the branch below shows.
const ICONS = {
  0: '<circle cx="9" cy="9" r="3" fill="#cbd2dc"/>',
  1: '<circle cx="9" cy="9" r="6" fill="#2f9e44"/><circle cx="9" cy="9" r="2.5" fill="#fff"/>',
  2: '<circle cx="9" cy="9" r="6" fill="none" stroke="#9aa5b5" stroke-width="1.5"/>',
  3: '<circle cx="9" cy="9" r="6" fill="#2f9e44"/><path d="M9 3a6 6 0 0 1 0 12z" fill="#b7e4c0"/>',
  4: '<circle cx="9" cy="9" r="6" fill="none" stroke="#9aa5b5" stroke-width="1.5"/><path d="M9 3a6 6 0 0 1 0 12z" fill="#b7e4c0"/>',
  5: '<circle cx="9" cy="9" r="6" fill="#2f9e44"/>',
  6: '<circle cx="9" cy="9" r="6" fill="none" stroke="#2f9e44" stroke-width="1.5" stroke-dasharray="2 2"/><circle cx="9" cy="9" r="3" fill="#2f9e44"/>',
  7: '<rect x="3" y="4" width="12" height="10" rx="2" fill="#7c3aed"/><rect x="5" y="6" width="8" height="6" fill="#ddd6fe"/>',
  8: '<circle cx="9" cy="9" r="6" fill="#f59f00"/><circle cx="9" cy="9" r="2.5" fill="#fff"/>',
  9: '<path d="M4 4l10 10M14 4L4 14" stroke="#e03131" stroke-width="2"/>',
};

export class TreeView {
  constructor(element, model, { onToggleVisibility, onExpand, onSelect }) {
    this.element = element;
    this.model = model;
    this.spacer = element.querySelector('.tree-spacer');
    this.layer = element.querySelector('.tree-rows');
    this.rows = [];
    this.selected = new Set();
    this.primary = null;
    this.callbacks = { onToggleVisibility, onExpand, onSelect };
    this.pending = false;
    element.addEventListener('scroll', () => this.draw());
    new ResizeObserver(() => this.draw()).observe(element);
    this.layer.addEventListener('click', (event) => this.click(event));
  }

  // Layout again on the next frame; many documents in a row cost one layout.
  refresh(shapeChanged = true) {
    if (shapeChanged) this.stale = true;
    if (this.pending) return;
    this.pending = true;
    requestAnimationFrame(() => {
      this.pending = false;
      if (this.stale) {
        this.rows = this.model.visibleRows();
        this.spacer.style.height = `${this.rows.length * ROW}px`;
        this.stale = false;
      }
      this.draw();
    });
  }

  draw() {
    const top = this.element.scrollTop;
    const first = Math.max(0, Math.floor(top / ROW) - 10);
    const last = Math.min(this.rows.length, Math.ceil((top + this.element.clientHeight) / ROW) + 10);
    const html = [];
    for (let i = first; i < last; i++) {
      const { node, depth } = this.rows[i];
      const classes = ['row'];
      if (this.selected.has(node)) classes.push('selected');
      if (node === this.primary) classes.push('primary');
      const twisty = node.children.length ? (node.expanded ? '▾' : '▸') : '';
      const state = ICONS[node.state] ? node.state : 0;
      html.push(`<div class="${classes.join(' ')}" data-row="${i}" style="top:${i * ROW}px;padding-left:${depth * 14}px">`
        + `<span class="twisty">${twisty}</span>`
        + `<svg class="vis vs-${state}" viewBox="0 0 18 18" data-state="${state}"><title>${state}</title>${ICONS[state]}</svg>`
        + `<span class="name">${escapeHtml(node.name)}</span>`
        + (node.children.length ? `<span class="type">${node.children.length}</span>` : '')
        + '</div>');
    }
    this.layer.innerHTML = html.join('');
  }

  click(event) {
    const row = event.target.closest('.row');
    if (!row) return;
    const { node } = this.rows[Number(row.dataset.row)];
    if (event.target.closest('.twisty')) {
      node.expanded = !node.expanded;
      if (node.expanded) this.callbacks.onExpand(node);
      this.refresh();
    } else if (event.target.closest('.vis')) {
      this.callbacks.onToggleVisibility(node, [...this.selected].filter((other) => other !== node));
    } else {
      if (!(event.ctrlKey || event.metaKey)) this.selected.clear();
      if (this.selected.has(node) && (event.ctrlKey || event.metaKey)) this.selected.delete(node);
      else this.selected.add(node);
      this.primary = node;
      this.callbacks.onSelect(this.primary, [...this.selected]);
      this.draw();
    }
  }

  // Shows a node: its ancestors open and the row scrolled into sight.
  reveal(node) {
    for (let up = node.parent; up; up = up.parent) up.expanded = true;
    this.rows = this.model.visibleRows();
    this.spacer.style.height = `${this.rows.length * ROW}px`;
    const index = this.rows.findIndex((row) => row.node === node);
    if (index >= 0) this.element.scrollTop = Math.max(0, index * ROW - this.element.clientHeight / 2);
    this.draw();
  }
}

function escapeHtml(text) {
  return text.replace(/[&<>"]/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' }[c]));
}
