// The structure tree as the module's tree documents tell it, and nothing
// else: "treeMapping" adds nodes, "treeRemove" takes them out, "treeUpdate"
// and "treeUpdateChanges" set their visibility state, "clearTree" empties it.

export const STATES = {
  1: 'visible, no children visible',
  2: 'hidden, no children visible',
  3: 'visible, some children visible',
  4: 'hidden, some children visible',
  5: 'visible, all children visible',
  6: 'hidden, all children visible',
  7: 'thumbnail',
  8: 'partly visible',
  9: 'no state',
};

const parentPath = (idpath) => idpath.slice(0, Math.max(0, idpath.lastIndexOf('/')));

export class TreeModel {
  constructor() {
    this.clear();
  }

  clear() {
    this.byId = new Map();
    this.byPath = new Map();
    this.roots = [];
    this.version = 0;
  }

  get size() {
    return this.byId.size;
  }

  // Applies one document; gives true when it changed the tree's shape (not
  // only states).
  apply(document) {
    if (!document || typeof document !== 'object') return false;
    if (document.treeMapping) return this.add(document.treeMapping);
    if (document.treeRemove) return this.remove(document.treeRemove);
    const updates = document.treeUpdate ?? document.treeUpdateChanges;
    if (updates) {
      for (const { id, state, loaded } of updates) {
        const node = this.byId.get(id);
        if (!node) continue;
        node.state = Number(state);
        if (loaded !== undefined) node.loaded = loaded === 'true';
      }
      this.version++;
      return false;
    }
    if (document.clearTree) {
      this.clear();
      return true;
    }
    return false;
  }

  add(entries) {
    for (const { id, idpath } of entries) {
      if (this.byId.has(id)) continue;
      const node = { id, idpath, name: idpath.slice(idpath.lastIndexOf('/') + 1), state: 0, loaded: undefined,
                     children: [], parent: null, expanded: false, asked: false };
      this.byId.set(id, node);
      this.byPath.set(idpath, node);
      const parent = this.byPath.get(parentPath(idpath));
      if (parent && parent !== node) {
        node.parent = parent;
        parent.children.push(node);
      } else {
        this.roots.push(node);
      }
      // Children that came before their parent join it now.
      for (let i = this.roots.length - 2; i >= 0 && this.roots.length > 1; i--) {
        const orphan = this.roots[i];
        if (parentPath(orphan.idpath) === idpath) {
          this.roots.splice(i, 1);
          orphan.parent = node;
          node.children.push(orphan);
        }
      }
    }
    this.version++;
    return true;
  }

  remove(entries) {
    for (const { id } of entries) {
      const node = this.byId.get(id);
      if (!node) continue;
      const siblings = node.parent ? node.parent.children : this.roots;
      const at = siblings.indexOf(node);
      if (at >= 0) siblings.splice(at, 1);
      const drop = (gone) => {
        this.byId.delete(gone.id);
        this.byPath.delete(gone.idpath);
        gone.children.forEach(drop);
      };
      drop(node);
    }
    this.version++;
    return true;
  }

  // The rows a reader sees: every node whose ancestors are all expanded, in
  // tree order, each with its depth.
  visibleRows() {
    const rows = [];
    const stack = [];
    for (let i = this.roots.length - 1; i >= 0; i--) stack.push([this.roots[i], 0]);
    while (stack.length) {
      const [node, depth] = stack.pop();
      rows.push({ node, depth });
      if (!node.expanded) continue;
      for (let i = node.children.length - 1; i >= 0; i--) stack.push([node.children[i], depth + 1]);
    }
    return rows;
  }
}
