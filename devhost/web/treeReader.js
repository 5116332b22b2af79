// The module's tree documents read as they arrive, off the page's main
// thread: the tree worker runs this over the session's event stream. Each
// tree event's text is scanned piece by piece as the network hands it over,
// so the first rows of a mapping of tens of megabytes are known long before
// its last byte; what is read goes to the page as columnar arrays, never as
// an object per node:
//
//   {kind: 'nodes', first, parent: Int32Array, text, ends: Uint32Array, moves: Int32Array}
//     nodes first, first+1, ... (the page's indexes): parent index or -1;
//     text holds each node's id, then its tail (the name, or the whole
//     idpath of a node without a parent), ends[2k] and ends[2k+1] where they
//     end; moves: triples (k, node, new parent): a root that found its
//     parent, node k of the batch, and joins it once that one is placed.
//   {kind: 'states', seq, index: Int32Array, state: Int32Array, loaded: Int8Array}
//     loaded is 1, 0 or -1 (not told); seq is the number of the event that
//     told them: a state query's answers come on a stream of their own, ahead
//     of older states, which must not undo them.
//   {kind: 'remove', index: Int32Array}   the nodes and their branches go.
//   {kind: 'clear'}
//   {kind: 'end', method, document}       a tree event was read whole;
//     document is its top key ("treeMapping", "treeUpdateChanges", ...).
//
// The reader keeps what it needs to place nodes: the index by id, the
// parents and children, and where each node's name is in the texts it sent.
// Texts not of the module's writer form are read by JSON.parse and give the
// same parts. A mapping's nodes go to the page as they are read; states and
// removals once their document was read whole, so that a text that turns
// out not to be JSON changes none (a mapping keeps the whole entries read
// before such a fault). An answer may name nodes whose mapping is still on
// its way: their states wait here until the nodes come.

const BATCH = 16384;
// A node's text index once the node was removed.
const GONE = -1;
// How much of an entry may be left over at the end of a piece before the
// scanner decides the text is not of the writer's form.
const LONGEST_ENTRY = 65536;

// The head of a tree event as the gateway writes it: the observer's method,
// then the document as the one argument, a JSON string.
const EVENT_HEAD = /^\{"seq":(\d+),"interface":"webapi::TreeObserver","method":"(OnTreeMapping|OnTreeUpdate)","signature":"[A-Za-z_]+","args":\["/;
const LONGEST_HEAD = 200;
const EVENT_TAIL = '"]}';

// Inside that argument the document's own quotes and backslashes are
// escaped once more: {\"treeMapping\":[{\"id\":\"1\",\"idpath\":\"a\"}]}.
const DOCUMENT_HEAD = /\{\\"(treeMapping|treeRemove|treeUpdate|treeUpdateChanges)\\":\[/y;
// A string of the document, escaped twice: plain characters, or an escape
// of the document (\" \\ \/ \b \f \n \r \t \u) escaped again.
const TWICE = String.raw`(?:[^"\\]|\\\\(?:\\\\|\\"|[\/bfnrtu]))*`;
const NODE_ENTRY = new RegExp(String.raw`\{\\"id\\":\\"([^"\\]*)\\",\\"idpath\\":\\"(${TWICE})\\"\}(,|\]\})`, 'y');
const STATE_ENTRY = new RegExp(String.raw`\{\\"id\\":\\"([^"\\]*)\\",\\"state\\":\\"(-?\d{1,9})\\"(?:,\\"loaded\\":\\"(true|false)\\")?\}(,|\]\})`, 'y');

const ID_OPEN = String.raw`{\"id\":\"`;
const PATH_OPEN = String.raw`\",\"idpath\":\"`;
const ENTRY_CLOSE = String.raw`\"}`;

const unescapeTwice = (text) => (text.includes('\\') ? JSON.parse(`"${JSON.parse(`"${text}"`)}"`) : text);

// The path to the node read last: where a document read depth first finds
// the next node's parent.
class Ancestors {
  constructor() {
    this.paths = [];
    this.indexes = [];
    this.depth = 0;
  }
}

// The parts of one document, gathered until a batch is full.
class Batch {
  constructor(reader) {
    this.reader = reader;
    this.parents = new Int32Array(BATCH);
    this.ends = new Uint32Array(2 * BATCH);
    this.stateIndex = new Int32Array(BATCH);
    this.stateValues = new Int32Array(BATCH);
    this.loaded = new Int8Array(BATCH);
    // The event whose states these are.
    this.seq = 0;
    this.reset();
  }

  reset() {
    this.first = this.reader.size;
    this.nodes = 0;
    this.states = 0;
    // Waiting states of this batch's nodes: [index, state, loaded, seq].
    this.late = [];
    this.text = '';
    // The tails as strings too, while the text is still being joined: a
    // slice of a text being joined would join it again each time.
    this.tails = [];
    this.moves = [];
  }

  get size() {
    return this.nodes + this.states;
  }

  // Adds node index; the reader keeps where in this batch's text its tail is.
  addNode(index, parent, id, tail) {
    const at = this.nodes++;
    const { reader } = this;
    this.parents[at] = parent;
    this.text += id;
    this.ends[2 * at] = reader.tailStart[index] = this.text.length;
    this.text += tail;
    this.tails.push(tail);
    this.ends[2 * at + 1] = reader.tailEnd[index] = this.text.length;
    reader.textOf[index] = reader.texts.length;
    if (this.nodes === BATCH) this.flush();
  }

  addState(index, state, loaded) {
    const at = this.states++;
    this.stateIndex[at] = index;
    this.stateValues[at] = state;
    this.loaded[at] = loaded;
    if (this.states === BATCH) this.flush();
  }

  flush() {
    const { post } = this.reader;
    if (this.nodes) {
      const parent = this.parents.slice(0, this.nodes);
      const ends = this.ends.slice(0, 2 * this.nodes);
      const moves = Int32Array.from(this.moves);
      this.reader.texts.push(this.text);
      post({ kind: 'nodes', first: this.first, parent, text: this.text, ends, moves }, [parent.buffer, ends.buffer, moves.buffer]);
    }
    if (this.states) {
      postStates(post, this.seq, this.stateIndex.slice(0, this.states), this.stateValues.slice(0, this.states),
        this.loaded.slice(0, this.states));
    }
    for (const [index, state, loaded, seq] of this.late)
      postStates(post, seq, Int32Array.of(index), Int32Array.of(state), Int8Array.of(loaded));
    this.reset();
  }
}

function postStates(post, seq, index, state, loaded) {
  post({ kind: 'states', seq, index, state, loaded }, [index.buffer, state.buffer, loaded.buffer]);
}

export class TreeReader {
  // post(message, transfer) takes each part as it is read.
  constructor(post) {
    this.post = post;
    this.clear();
  }

  clear() {
    this.byId = Object.create(null);
    // Each node's tail, in the texts of the batches it came in (ids
    // included, as the page has them): offsets, not a string per node.
    this.texts = [];
    this.textOf = new Int32Array(0);
    this.tailStart = new Uint32Array(0);
    this.tailEnd = new Uint32Array(0);
    this.parent = new Int32Array(0);
    this.firstChild = new Int32Array(0);
    this.lastChild = new Int32Array(0);
    this.next = new Int32Array(0);
    this.roots = [];
    this.childNames = new Map();
    // Roots whose parent may come later, by the idpath they wait for.
    this.orphans = new Map();
    // States answered for ids not placed yet: id -> [state, loaded, seq].
    this.waiting = new Map();
    this.size = 0;
  }

  // The batch of the document being read: one for all, events being read
  // one after the other. What an event cut off by a lost connection left in
  // it goes out first: the reader knows those nodes already.
  batch() {
    this.shared ??= new Batch(this);
    this.shared.flush();
    return this.shared;
  }

  // ---- events ----------------------------------------------------------------

  // A reader of one event's data line, given to the event stream: it takes
  // the line's pieces as they come, and gives the event's text at the end
  // unless it read the event itself.
  eventData() {
    return new EventData(this);
  }

  // ---- the documents' parts ------------------------------------------------

  // Adds a node; false when its id is known already (a document that names a
  // node twice, or a stream read again after a lost connection).
  addNode(batch, id, idpath, stack) {
    if (this.byId[id] !== undefined) return false;
    const index = this.size++;
    if (index === this.parent.length) this.grow();
    this.byId[id] = index;
    const cut = idpath.lastIndexOf('/');
    let parent = -1;
    if (cut >= 0) {
      // Documents list a branch depth first: the parent is mostly on the path
      // to the node read before.
      const { paths } = stack;
      let top = stack.depth - 1;
      while (top >= 0 && !(paths[top].length === cut && idpath.startsWith(paths[top]))) top--;
      stack.depth = top + 1;
      parent = top >= 0 ? stack.indexes[top] : this.find(idpath.slice(0, cut));
    }
    const tail = parent >= 0 ? idpath.slice(cut + 1) : idpath;
    this.firstChild[index] = -1;
    this.lastChild[index] = -1;
    this.link(index, parent, tail);
    if (parent < 0 && cut >= 0) {
      const waiting = this.orphans.get(idpath.slice(0, cut));
      if (waiting) waiting.push(index);
      else this.orphans.set(idpath.slice(0, cut), [index]);
    }
    // Roots that came before their parent join it now, in the batch of the
    // parent, once it is placed.
    const adopted = this.orphans.size ? this.orphans.get(idpath) : undefined;
    if (adopted) {
      this.orphans.delete(idpath);
      for (const orphan of adopted) {
        if (this.textOf[orphan] === GONE) continue;
        this.unlink(orphan);
        this.tailStart[orphan] += idpath.length + 1;
        this.link(orphan, index, this.tail(orphan));
        batch.moves.push(batch.nodes, orphan, index);
      }
    }
    batch.addNode(index, parent, id, tail);
    const answered = this.waiting.size ? this.waiting.get(id) : undefined;
    if (answered) {
      this.waiting.delete(id);
      batch.late.push([index, ...answered]);
    }
    stack.paths[stack.depth] = idpath;
    stack.indexes[stack.depth++] = index;
    return true;
  }

  grow() {
    const size = Math.max(1024, this.parent.length * 2);
    for (const name of ['parent', 'firstChild', 'lastChild', 'next', 'textOf', 'tailStart', 'tailEnd']) {
      const bigger = new this[name].constructor(size);
      bigger.set(this[name]);
      this[name] = bigger;
    }
  }

  tail(index) {
    if (this.textOf[index] === this.texts.length) {
      const batch = this.shared;
      const k = index - batch.first;
      return batch.tails[k].slice(this.tailStart[index] - batch.ends[2 * k]);
    }
    return this.texts[this.textOf[index]].slice(this.tailStart[index], this.tailEnd[index]);
  }

  setState(batch, id, state, loaded, wait = false) {
    const index = this.byId[id];
    if (index !== undefined) batch.addState(index, state, loaded);
    else if (wait) this.waiting.set(id, [state, loaded, batch.seq]);
  }

  // Removes the nodes of ids with their branches; gives the indexes of those
  // it knew. The ids of the nodes are not kept (the page holds them), so
  // the index by id is read through once for the whole document.
  remove(ids) {
    const removed = [];
    const dropped = new Set();
    for (const id of ids) {
      const index = this.byId[id];
      if (index === undefined || this.textOf[index] === GONE) continue;
      this.unlink(index);
      removed.push(index);
      const drop = [index];
      while (drop.length) {
        const gone = drop.pop();
        dropped.add(gone);
        this.textOf[gone] = GONE;
        for (let child = this.firstChild[gone]; child !== -1; child = this.next[child]) drop.push(child);
      }
    }
    if (dropped.size) for (const id in this.byId) if (dropped.has(this.byId[id])) delete this.byId[id];
    return removed;
  }

  // Makes index the last child of parent, or a root when parent is -1.
  link(index, parent, name) {
    this.parent[index] = parent;
    this.next[index] = -1;
    if (parent < 0) {
      this.roots.push(index);
      return;
    }
    const last = this.lastChild[parent];
    if (last === -1) this.firstChild[parent] = index;
    else this.next[last] = index;
    this.lastChild[parent] = index;
    const names = this.childNames.get(parent);
    if (names && !names.has(name)) names.set(name, index);
  }

  unlink(index) {
    const parent = this.parent[index];
    if (parent < 0) {
      this.roots.splice(this.roots.indexOf(index), 1);
      return;
    }
    this.childNames.delete(parent);
    let before = -1;
    for (let child = this.firstChild[parent]; child !== index; child = this.next[child]) before = child;
    const after = this.next[index];
    if (before === -1) this.firstChild[parent] = after;
    else this.next[before] = after;
    if (this.lastChild[parent] === index) this.lastChild[parent] = before;
    this.next[index] = -1;
  }

  // The node of an idpath, found down from the roots one name at a time.
  find(idpath) {
    for (const root of this.roots) {
      const rootPath = this.tail(root);
      if (idpath === rootPath) return root;
      if (!idpath.startsWith(rootPath) || idpath[rootPath.length] !== '/') continue;
      let node = root;
      for (const name of idpath.slice(rootPath.length + 1).split('/')) {
        node = this.childNamed(node, name);
        if (node === -1) break;
      }
      if (node !== -1) return node;
    }
    return -1;
  }

  // A child by its name, through an index of the parent's children made
  // the first time it is asked: a wide node is not read through again for
  // every node a document places under it out of order.
  childNamed(parent, name) {
    let names = this.childNames.get(parent);
    if (!names) {
      names = new Map();
      for (let child = this.firstChild[parent]; child !== -1; child = this.next[child]) {
        const tail = this.tail(child);
        if (!names.has(tail)) names.set(tail, child);
      }
      this.childNames.set(parent, names);
    }
    return names.get(name) ?? -1;
  }

  // A whole tree event's text, by JSON.parse, from entry skip of its
  // document on; a text that is not JSON changes nothing, a document that
  // is not JSON is no document.
  applyEvent(text, skip = 0, batch = this.batch()) {
    let event;
    try {
      event = JSON.parse(text);
    } catch {
      return;
    }
    let document = null;
    try {
      document = JSON.parse(event.args?.[0]);
    } catch {
      // Not JSON: no document.
    }
    this.applyParsed(event.method, document, skip, Number(event.seq) || 0, batch);
  }

  // An event of the state query's answers, whole: its states go at once,
  // in a batch of their own (another event's may be half read), and those
  // of nodes not known yet wait for them.
  applyAnswer(text) {
    this.answers ??= new Batch(this);
    this.applyEvent(text, 0, this.answers);
  }

  // A whole document as JSON.parse reads it (any JSON the module may send).
  applyParsed(method, document, skip = 0, seq = 0, batch = this.batch()) {
    const answer = batch === this.answers;
    batch.seq = seq;
    let key = null;
    if (document && typeof document === 'object') {
      key = ['treeMapping', 'treeRemove', 'treeUpdate', 'treeUpdateChanges', 'clearTree'].find((name) => document[name]) ?? null;
      const entries = Array.isArray(document[key]) ? document[key].slice(skip) : [];
      if (key === 'clearTree') {
        // Answers given after the clearing still wait for their nodes.
        const later = [...this.waiting].filter(([, answered]) => answered[2] > seq);
        this.clear();
        this.waiting = new Map(later);
        this.post({ kind: 'clear' });
      } else if (key === 'treeMapping') {
        const stack = new Ancestors();
        for (const entry of entries)
          if (typeof entry?.idpath === 'string') this.addNode(batch, String(entry.id), entry.idpath, stack);
      } else if (key === 'treeRemove') {
        const index = this.remove(entries.map((entry) => String(entry?.id)));
        if (index.length) this.post({ kind: 'remove', index: Int32Array.from(index) });
      } else if (key) {
        for (const entry of entries) {
          const loaded = entry?.loaded === undefined ? -1 : entry.loaded === 'true' ? 1 : 0;
          this.setState(batch, String(entry?.id), Number(entry?.state), loaded, answer);
        }
      }
    }
    batch.flush();
    this.post({ kind: 'end', method, document: key });
  }
}

// One event's data line, piece by piece.
class EventData {
  constructor(reader) {
    this.reader = reader;
    this.pieces = [];
    this.head = '';
    this.scanner = null;
    this.decided = false;
  }

  push(piece) {
    this.pieces.push(piece);
    if (this.scanner) {
      this.scanner.push(piece);
      return;
    }
    if (this.decided) return;
    this.head += piece;
    const found = EVENT_HEAD.exec(this.head.slice(0, LONGEST_HEAD));
    if (found) {
      this.decided = true;
      this.scanner = new DocumentScanner(this.reader, found[2], Number(found[1]));
      this.scanner.push(this.head.slice(found[0].length));
    } else if (this.head.length >= LONGEST_HEAD) {
      this.decided = true;
    }
  }

  // A second data line of the same event: the text then holds a newline
  // that the scanner does not expect.
  newline() {
    this.push('\n');
    this.scanner?.abandon();
  }

  // The event's JSON text, or null when the reader took the event.
  end() {
    if (this.scanner?.finish()) return null;
    const text = this.pieces.length === 1 ? this.pieces[0] : this.pieces.join('');
    this.pieces = null;
    if (!this.scanner && !EVENT_HEAD.test(text)) return text;
    // A tree event not of the writer's form.
    this.reader.applyEvent(text, this.scanner?.applied ?? 0);
    return null;
  }
}

// Scans a document, escaped inside its event, as its pieces come.
class DocumentScanner {
  constructor(reader, method, seq) {
    this.reader = reader;
    this.method = method;
    this.text = '';
    this.at = 0;
    this.key = null;
    this.entries = 0;
    this.done = false;
    this.failed = false;
    this.flushed = false;
    this.stack = new Ancestors();
    this.batch = reader.batch();
    this.batch.seq = seq;
  }

  push(piece) {
    if (this.failed) return;
    this.text = this.at < this.text.length ? this.text.slice(this.at) + piece : piece;
    this.at = 0;
    this.scan(false);
    // A mapping's first rows go at once; after them, full batches. States
    // and removals wait for the document's end: a text that turns out not to
    // be JSON changes nothing.
    if (this.key !== 'treeMapping') return;
    if (!this.flushed && this.batch.size) {
      this.batch.flush();
      this.flushed = true;
    }
  }

  abandon() {
    this.failed = true;
  }

  // The entries already given to the page: a mapping's.
  get applied() {
    return this.key === 'treeMapping' ? this.entries : 0;
  }

  scan(last) {
    if (this.done) {
      if (this.text.length - this.at > EVENT_TAIL.length) this.failed = true;
      return;
    }
    if (this.key === null) {
      DOCUMENT_HEAD.lastIndex = 0;
      const head = DOCUMENT_HEAD.exec(this.text);
      if (!head) {
        if (last || this.text.length > 40) this.failed = true;
        return;
      }
      this.key = head[1];
      this.at = DOCUMENT_HEAD.lastIndex;
      // An empty list.
      if (this.text.startsWith(']}', this.at)) {
        this.at += 2;
        this.done = true;
        return;
      }
    }
    const nodes = this.key === 'treeMapping' || this.key === 'treeRemove';
    const entry = nodes ? NODE_ENTRY : STATE_ENTRY;
    const { reader, batch } = this;
    for (;;) {
      if (this.key === 'treeMapping' && this.plainNode()) {
        if (this.done) return;
        continue;
      }
      entry.lastIndex = this.at;
      const found = entry.exec(this.text);
      if (!found) {
        if (last || this.text.length - this.at > LONGEST_ENTRY) this.failed = true;
        return;
      }
      this.at = entry.lastIndex;
      this.entries++;
      if (this.key === 'treeMapping') {
        reader.addNode(batch, found[1], unescapeTwice(found[2]), this.stack);
      } else if (this.key === 'treeRemove') {
        this.removed ??= [];
        this.removed.push(found[1]);
      } else {
        reader.setState(batch, found[1], Number(found[2]), found[3] === undefined ? -1 : found[3] === 'true' ? 1 : 0);
      }
      if (found[nodes ? 3 : 4] !== ',') {
        this.done = true;
        return;
      }
    }
  }

  // The mapping entry of an idpath with nothing escaped, by far the most
  // common, read without the regular expression and its captures: most of a
  // large mapping's reading time. False for any other text, which the
  // expression then reads or refuses.
  plainNode() {
    const { text, at } = this;
    if (!text.startsWith(ID_OPEN, at)) return false;
    const idStart = at + ID_OPEN.length;
    const idEnd = text.indexOf('\\', idStart);
    if (idEnd < 0 || !text.startsWith(PATH_OPEN, idEnd)) return false;
    const pathStart = idEnd + PATH_OPEN.length;
    const pathEnd = text.indexOf('\\', pathStart);
    if (pathEnd < 0 || !text.startsWith(ENTRY_CLOSE, pathEnd)) return false;
    const follow = pathEnd + ENTRY_CLOSE.length;
    const last = text.startsWith(']}', follow);
    if (!last && text.charCodeAt(follow) !== 44 /* , */) return false;
    const id = text.slice(idStart, idEnd);
    const idpath = text.slice(pathStart, pathEnd);
    if (id.includes('"') || idpath.includes('"')) return false;
    this.at = follow + (last ? 2 : 1);
    this.done = last;
    this.entries++;
    this.reader.addNode(this.batch, id, idpath, this.stack);
    return true;
  }

  // True when the whole document was read here; else the event goes to
  // JSON.parse, from the entry this scanner stopped at.
  finish() {
    if (!this.failed) this.scan(true);
    if (this.failed || !this.done || this.text.slice(this.at) !== EVENT_TAIL) {
      if (this.key === 'treeMapping') this.batch.flush();
      else this.batch.reset();
      return false;
    }
    if (this.removed) {
      const index = this.reader.remove(this.removed);
      if (index.length) this.reader.post({ kind: 'remove', index: Int32Array.from(index) });
    }
    this.batch.flush();
    this.reader.post({ kind: 'end', method: this.method, document: this.key });
    return true;
  }
}
