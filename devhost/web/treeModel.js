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

// A short name of each state, for the legend and the tooltips.
export const STATE_NAMES = {
  1: 'Shown, nothing below',
  2: 'Hidden, nothing below',
  3: 'Shown, some below',
  4: 'Hidden, some below',
  5: 'Shown, all below',
  6: 'Hidden, all below shown',
  7: 'Thumbnail',
  8: 'Partly shown',
  9: 'No state',
};

// States whose click the module answers by hiding the branch; it shows
// (loads) the branch for the other states but 9, for which it does neither.
export const HIDING_STATES = new Set([1, 5, 6]);

const parentPath = (idpath) => idpath.slice(0, Math.max(0, idpath.lastIndexOf('/')));

// Leaves, most of a tree, share one empty list of children.
const NO_CHILDREN = Object.freeze([]);

// A node of the tree; its name is read only for the rows in sight.
class TreeNode {
  constructor(id, idpath) {
    this.id = id;
    this.idpath = idpath;
    this.state = 0;
    this.loaded = undefined;
    this.children = NO_CHILDREN;
    this.parent = null;
    this.expanded = false;
    this.asked = false;
    this.proxy = null;
  }

  get name() {
    return this.idpath.slice(this.idpath.lastIndexOf('/') + 1);
  }

  // A proxy whose branch the host has not read yet (its "proxy" is how it
  // stands, from the host): it may have children that no document named.
  get unread() {
    return Boolean(this.proxy) && this.children.length === 0;
  }

  get expandable() {
    return this.children.length > 0 || this.unread;
  }

  adopt(child) {
    if (this.children === NO_CHILDREN) this.children = [];
    child.parent = this;
    this.children.push(child);
  }
}

export class TreeModel {
  constructor() {
    this.clear();
  }

  clear() {
    // Ids are decimal numbers, which an object indexes several times faster
    // than a Map does.
    this.byId = Object.create(null);
    this.count = 0;
    this.byPath = null;
    this.roots = [];
    this.version = 0;
  }

  get size() {
    return this.count;
  }

  pathIndex() {
    if (!this.byPath) {
      this.byPath = new Map();
      for (const node of Object.values(this.byId)) this.byPath.set(node.idpath, node);
    }
    return this.byPath;
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
        const node = this.byId[id];
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
    // Documents list a branch depth first, so a node's parent is mostly the
    // node added before it or one of its ancestors; the path index, made
    // when first needed, is the fallback.
    let last = null;
    for (const { id, idpath } of entries) {
      if (this.byId[id]) continue;
      const node = new TreeNode(id, idpath);
      this.byId[id] = node;
      this.count++;
      this.byPath?.set(idpath, node);
      const cut = idpath.lastIndexOf('/');
      let parent = null;
      for (let up = cut >= 0 ? last : null; up && up.idpath.length >= cut; up = up.parent) {
        if (up.idpath.length === cut && idpath.startsWith(up.idpath)) {
          parent = up;
          break;
        }
      }
      if (!parent && cut >= 0) parent = this.pathIndex().get(idpath.slice(0, cut)) ?? null;
      if (parent && parent !== node) {
        parent.adopt(node);
      } else {
        this.roots.push(node);
      }
      // Children that came before their parent join it now.
      for (let i = this.roots.length - 2; i >= 0 && this.roots.length > 1; i--) {
        const orphan = this.roots[i];
        if (parentPath(orphan.idpath) === idpath) {
          this.roots.splice(i, 1);
          node.adopt(orphan);
        }
      }
      last = node;
    }
    this.version++;
    return true;
  }

  remove(entries) {
    for (const { id } of entries) {
      const node = this.byId[id];
      if (!node) continue;
      const siblings = node.parent ? node.parent.children : this.roots;
      const at = siblings.indexOf(node);
      if (at >= 0) siblings.splice(at, 1);
      const drop = (gone) => {
        delete this.byId[gone.id];
        this.count--;
        this.byPath?.delete(gone.idpath);
        gone.children.forEach(drop);
      };
      drop(node);
    }
    this.version++;
    return true;
  }

  // The rows a reader sees: every node whose ancestors are all expanded, in
  // tree order, each with its depth. With a filter, the nodes it keeps and
  // their ancestors, opened or not.
  visibleRows(keep = null) {
    const rows = [];
    const stack = [];
    for (let i = this.roots.length - 1; i >= 0; i--) stack.push([this.roots[i], 0]);
    while (stack.length) {
      const [node, depth] = stack.pop();
      if (keep && !keep.has(node)) continue;
      rows.push({ node, depth });
      if (!keep && !node.expanded) continue;
      for (let i = node.children.length - 1; i >= 0; i--) stack.push([node.children[i], depth + 1]);
    }
    return rows;
  }

  // The nodes whose names hold text (any case), and with them their
  // ancestors; gives the set and the number of names that matched.
  filter(text) {
    const wanted = text.toLowerCase();
    const keep = new Set();
    let matches = 0;
    for (const node of Object.values(this.byId)) {
      if (!node.name.toLowerCase().includes(wanted)) continue;
      matches++;
      for (let up = node; up && !keep.has(up); up = up.parent) keep.add(up);
    }
    return { keep, matches };
  }

  nodes() {
    return Object.values(this.byId);
  }

  // Marks the unread proxies: [{idpath, state}] as the host lists them.
  markProxies(proxies) {
    for (const node of Object.values(this.byId)) node.proxy = null;
    const index = this.pathIndex();
    for (const { idpath, state } of proxies) {
      const node = index.get(idpath);
      if (node) node.proxy = state;
    }
  }
}
