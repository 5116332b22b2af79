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

const EXPANDED = 1;
const ASKED = 2;
const GONE = 4;
// The node's tail is its whole idpath: it came without a parent.
const WHOLE_PATH = 8;
// The node's own state was asked for.
const STATE_ASKED = 16;

class Column {
  constructor(Type) {
    this.Type = Type;
    this.array = new Type(0);
  }

  ensure(size) {
    if (size > this.array.length) {
      const bigger = new this.Type(Math.max(size, this.array.length * 2, 1024));
      bigger.set(this.array);
      this.array = bigger;
    }
    return this.array;
  }
}

// A node as the page's code sees it: a handle on the model's arrays, made
// for the rows in sight and the nodes the page holds on to (selections,
// focus), one per node so that handles compare as the nodes do.
class TreeNode {
  constructor(model, index) {
    this.model = model;
    this.index = index;
  }

  get id() { return this.model.id(this.index); }
  get idpath() { return this.model.idpath(this.index); }
  get name() { return this.model.name(this.index); }
  get state() { return this.model.states.array[this.index]; }
  get loaded() {
    const loaded = this.model.loadedFlags.array[this.index];
    return loaded < 0 ? undefined : loaded === 1;
  }

  get parent() {
    const parent = this.model.parents.array[this.index];
    return parent < 0 ? null : this.model.node(parent);
  }

  get childCount() { return this.model.childCounts.array[this.index]; }
  get children() { return this.model.childrenOf(this.index); }

  get expanded() { return this.model.has(this.index, EXPANDED); }
  set expanded(value) { this.model.mark(this.index, EXPANDED, value); }
  get asked() { return this.model.has(this.index, ASKED); }
  set asked(value) { this.model.mark(this.index, ASKED, value); }
  get stateAsked() { return this.model.has(this.index, STATE_ASKED); }
  set stateAsked(value) { this.model.mark(this.index, STATE_ASKED, value); }

  // A proxy whose branch the host has not read yet (its "proxy" is how it
  // stands, from the host): it may have children that no document named.
  get proxy() { return this.model.proxies.get(this.index) ?? null; }
  get unread() { return Boolean(this.proxy) && this.childCount === 0; }
  get expandable() { return this.childCount > 0 || this.unread; }
}

// The rows a reader sees, as arrays: node index, depth and place among the
// node's siblings.
class Rows {
  constructor(model, nodes, depths, places, length) {
    this.model = model;
    this.generation = model.generation;
    this.nodes = nodes;
    this.depths = depths;
    this.places = places;
    this.length = length;
  }

  // False once the tree was cleared: the rows name nodes that are gone.
  get current() { return this.generation === this.model.generation; }

  node(row) { return this.model.node(this.nodes[row]); }
  depth(row) { return this.depths[row]; }
  place(row) { return this.places[row]; }

  indexOf(node) {
    if (!this.model.holds(node)) return -1;
    return this.nodes.subarray(0, this.length).indexOf(node.index);
  }

  between(low, high) {
    const nodes = [];
    for (let row = low; row <= high; row++) nodes.push(this.node(row));
    return nodes;
  }
}

// The tree in columns, filled from the parts the tree worker reads
// (treeReader.js): a million nodes are a few arrays and the texts the
// worker sent, not a million objects.
export class TreeModel {
  constructor() {
    this.clear();
  }

  clear() {
    this.generation = (this.generation ?? 0) + 1;
    this.parents = new Column(Int32Array);
    this.firstChildren = new Column(Int32Array);
    this.lastChildren = new Column(Int32Array);
    this.nextSiblings = new Column(Int32Array);
    this.childCounts = new Column(Int32Array);
    this.states = new Column(Int32Array);
    // The number of the event each state came in: an answer read ahead of
    // older states keeps its place.
    this.stateSeqs = new Column(Uint32Array);
    this.loadedFlags = new Column(Int8Array);
    this.flags = new Column(Uint8Array);
    // Where each node's id and tail are: a text the worker sent, and the
    // offsets of the id's start, its end (the tail's start) and the tail's end.
    this.texts = [];
    this.textOf = new Column(Int32Array);
    this.starts = new Column(Uint32Array);
    this.splits = new Column(Uint32Array);
    this.ends = new Column(Uint32Array);
    this.length = 0;
    this.count = 0;
    this.firstRoot = -1;
    this.lastRoot = -1;
    this.rootCount = 0;
    this.proxies = new Map();
    this.handles = new Map();
    this.version = 0;
  }

  get size() {
    return this.count;
  }

  node(index) {
    let handle = this.handles.get(index);
    if (!handle) {
      handle = new TreeNode(this, index);
      this.handles.set(index, handle);
    }
    return handle;
  }

  // Whether a handle still names a node of this tree.
  holds(node) {
    return Boolean(node) && this.handles.get(node.index) === node && !this.has(node.index, GONE);
  }

  has(index, flag) {
    return (this.flags.array[index] & flag) !== 0;
  }

  mark(index, flag, on) {
    if (on) this.flags.array[index] |= flag;
    else this.flags.array[index] &= ~flag;
  }

  id(index) {
    return this.texts[this.textOf.array[index]].slice(this.starts.array[index], this.splits.array[index]);
  }

  tail(index) {
    return this.texts[this.textOf.array[index]].slice(this.splits.array[index], this.ends.array[index]);
  }

  name(index) {
    const tail = this.tail(index);
    return this.has(index, WHOLE_PATH) ? tail.slice(tail.lastIndexOf('/') + 1) : tail;
  }

  idpath(index) {
    const names = [];
    let at = index;
    for (; !this.has(at, WHOLE_PATH); at = this.parents.array[at]) names.push(this.tail(at));
    names.push(this.tail(at));
    return names.reverse().join('/');
  }

  get roots() {
    return this.siblingsFrom(this.firstRoot);
  }

  childrenOf(index) {
    return this.siblingsFrom(this.firstChildren.array[index]);
  }

  siblingsFrom(first) {
    const nodes = [];
    for (let at = first; at !== -1; at = this.nextSiblings.array[at]) nodes.push(this.node(at));
    return nodes;
  }

  // Applies one part read by the tree worker; gives true when it changed the
  // tree's shape (not only states).
  apply(part) {
    switch (part.kind) {
      case 'nodes':
        this.addNodes(part);
        break;
      case 'states': {
        const { seq = 0, index, state, loaded } = part;
        const states = this.states.array;
        const seqs = this.stateSeqs.array;
        const loadedFlags = this.loadedFlags.array;
        for (let i = 0; i < index.length; i++) {
          const at = index[i];
          if (seqs[at] > seq) continue;
          seqs[at] = seq;
          states[at] = state[i];
          if (loaded[i] >= 0) loadedFlags[at] = loaded[i];
        }
        this.version++;
        return false;
      }
      case 'remove':
        for (const index of part.index) this.remove(index);
        break;
      case 'clear':
        this.clear();
        break;
      default:
        return false;
    }
    this.version++;
    return true;
  }

  addNodes({ first, parent, text, ends, moves }) {
    const size = first + parent.length;
    for (const column of [this.parents, this.firstChildren, this.lastChildren, this.nextSiblings, this.childCounts,
      this.states, this.stateSeqs, this.loadedFlags, this.flags, this.textOf, this.starts, this.splits, this.ends]) column.ensure(size);
    const textIndex = this.texts.push(text) - 1;
    const textOf = this.textOf.array;
    const starts = this.starts.array;
    const splits = this.splits.array;
    const tailEnds = this.ends.array;
    let start = 0;
    let move = 0;
    for (let k = 0; k < parent.length; k++) {
      const index = first + k;
      textOf[index] = textIndex;
      starts[index] = start;
      splits[index] = ends[2 * k];
      tailEnds[index] = start = ends[2 * k + 1];
      this.firstChildren.array[index] = -1;
      this.lastChildren.array[index] = -1;
      this.loadedFlags.array[index] = -1;
      if (parent[k] < 0) this.flags.array[index] = WHOLE_PATH;
      this.link(index, parent[k]);
      for (; move < moves.length && moves[move] === k; move += 3) {
        this.unlink(moves[move + 1]);
        this.link(moves[move + 1], moves[move + 2]);
      }
    }
    this.length = size;
    this.count += parent.length;
  }

  link(index, parent) {
    this.parents.array[index] = parent;
    this.nextSiblings.array[index] = -1;
    if (parent < 0) {
      if (this.lastRoot === -1) this.firstRoot = index;
      else this.nextSiblings.array[this.lastRoot] = index;
      this.lastRoot = index;
      this.rootCount++;
      return;
    }
    const last = this.lastChildren.array[parent];
    if (last === -1) this.firstChildren.array[parent] = index;
    else this.nextSiblings.array[last] = index;
    this.lastChildren.array[parent] = index;
    this.childCounts.array[parent]++;
  }

  unlink(index) {
    const parent = this.parents.array[index];
    const next = this.nextSiblings.array;
    let before = -1;
    for (let at = parent < 0 ? this.firstRoot : this.firstChildren.array[parent]; at !== index; at = next[at]) before = at;
    if (parent < 0) {
      if (before === -1) this.firstRoot = next[index];
      else next[before] = next[index];
      if (this.lastRoot === index) this.lastRoot = before;
      this.rootCount--;
    } else {
      if (before === -1) this.firstChildren.array[parent] = next[index];
      else next[before] = next[index];
      if (this.lastChildren.array[parent] === index) this.lastChildren.array[parent] = before;
      this.childCounts.array[parent]--;
    }
    next[index] = -1;
  }

  remove(index) {
    this.unlink(index);
    const drop = [index];
    while (drop.length) {
      const gone = drop.pop();
      this.flags.array[gone] |= GONE;
      this.proxies.delete(gone);
      this.count--;
      for (let child = this.firstChildren.array[gone]; child !== -1; child = this.nextSiblings.array[child]) drop.push(child);
    }
  }

  // The rows a reader sees: every node whose ancestors are all expanded, in
  // tree order. With keep (a mask by node), the nodes it keeps, opened or not.
  visibleRows(keep = null) {
    let nodes = new Int32Array(256);
    let depths = new Int32Array(256);
    let places = new Int32Array(256);
    let length = 0;
    const next = this.nextSiblings.array;
    const firstChildren = this.firstChildren.array;
    const flags = this.flags.array;
    const path = [];  // the open ancestors: node and place
    let at = this.firstRoot;
    let place = 1;
    for (;;) {
      while (at === -1) {
        if (!path.length) return new Rows(this, nodes, depths, places, length);
        place = path.pop() + 1;
        at = next[path.pop()];
      }
      if (!keep || keep[at]) {
        if (length === nodes.length) {
          const grow = (array) => {
            const bigger = new Int32Array(array.length * 2);
            bigger.set(array);
            return bigger;
          };
          nodes = grow(nodes);
          depths = grow(depths);
          places = grow(places);
        }
        nodes[length] = at;
        depths[length] = path.length / 2;
        places[length++] = place;
        if ((keep || flags[at] & EXPANDED) && firstChildren[at] !== -1) {
          path.push(at, place);
          at = firstChildren[at];
          place = 1;
          continue;
        }
      }
      at = next[at];
      place++;
    }
  }

  // The nodes whose names hold text (any case), and with them their
  // ancestors; gives them as a mask by node, and the number of names that
  // matched.
  filter(text) {
    const wanted = text.toLowerCase();
    const keep = new Uint8Array(this.length);
    let matches = 0;
    for (let index = 0; index < this.length; index++) {
      if (this.has(index, GONE) || !this.name(index).toLowerCase().includes(wanted)) continue;
      matches++;
      for (let up = index; up !== -1 && !keep[up]; up = this.parents.array[up]) keep[up] = 1;
    }
    return { keep, matches };
  }

  // Every node that has children or may have some, for expanding all.
  expandable() {
    const nodes = [];
    for (let index = 0; index < this.length; index++)
      if (!this.has(index, GONE) && (this.childCounts.array[index] > 0 || this.proxies.get(index))) nodes.push(this.node(index));
    return nodes;
  }

  collapseAll() {
    const flags = this.flags.array;
    for (let index = 0; index < this.length; index++) flags[index] &= ~EXPANDED;
  }

  // The node of an idpath, found down from the roots one name at a time.
  find(idpath) {
    for (let root = this.firstRoot; root !== -1; root = this.nextSiblings.array[root]) {
      const rootPath = this.tail(root);
      if (idpath === rootPath) return this.node(root);
      if (!idpath.startsWith(rootPath) || idpath[rootPath.length] !== '/') continue;
      let at = root;
      for (const name of idpath.slice(rootPath.length + 1).split('/')) {
        let child = this.firstChildren.array[at];
        while (child !== -1 && this.name(child) !== name) child = this.nextSiblings.array[child];
        at = child;
        if (at === -1) break;
      }
      if (at !== -1) return this.node(at);
    }
    return null;
  }

  // Marks the unread proxies: [{idpath, state}] as the host lists them.
  markProxies(proxies) {
    this.proxies.clear();
    for (const { idpath, state } of proxies) {
      const node = this.find(idpath);
      if (node) this.proxies.set(node.index, state);
    }
  }
}
