// The module's tree documents read as they arrive, off the page's main
// thread: the tree worker runs this over the session's event stream. Each
// tree event's bytes are scanned piece by piece as the network hands them
// over, so the first rows of a mapping of tens of megabytes are known long
// before its last byte. The bytes are read as they are, never decoded as a
// whole: only the ids and names that go to the page become text, a batch at
// a time. What is read goes to the page as columnar arrays, never as an
// object per node:
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
// parents and children, and where each node's name is in the bytes of the
// texts it sent.
// Texts not of the module's writer form are read by JSON.parse and give the
// same parts. A mapping's nodes go to the page as they are read; states and
// removals once their document was read whole, so that a text that turns
// out not to be JSON changes none (a mapping keeps the whole entries read
// before such a fault). An answer may name nodes whose mapping is still on
// its way: their states wait here until the nodes come.

// The stream's own helper: the worker loads that module anyway.
import { joined } from './eventStream.js';

const BATCH = 16384;
// A node's text index once the node was removed.
const GONE = -1;
// How much of an entry may be left over at the end of a piece before the
// scanner decides the text is not of the writer's form.
const LONGEST_ENTRY = 65536;

const encoder = new TextEncoder();
const decoder = new TextDecoder();
const bytesOf = (text) => encoder.encode(text);

// The head of a tree event as the gateway writes it: the observer's method,
// then the document as the one argument, a JSON string. It is ASCII, so its
// length in characters is its length in bytes.
const EVENT_HEAD = /^\{"seq":(\d+),"interface":"webapi::TreeObserver","method":"(OnTreeMapping|OnTreeUpdate)","signature":"[A-Za-z_]+","args":\["/;
const LONGEST_HEAD = 200;
const EVENT_TAIL = bytesOf('"]}');

// Inside that argument the document's own quotes and backslashes are
// escaped once more: {\"treeMapping\":[{\"id\":\"1\",\"idpath\":\"a\"}]}.
const DOCUMENT_HEAD = /\{\\"(treeMapping|treeRemove|treeUpdate|treeUpdateChanges)\\":\[/y;
const LONGEST_DOCUMENT_HEAD = 40;
// A string of the document, escaped twice: plain characters, or an escape
// of the document (\" \\ \/ \b \f \n \r \t \u) escaped again.
const TWICE = String.raw`(?:[^"\\]|\\\\(?:\\\\|\\"|[\/bfnrtu]))*`;
const NODE_ENTRY = new RegExp(String.raw`\{\\"id\\":\\"([^"\\]*)\\",\\"idpath\\":\\"(${TWICE})\\"\}(,|\]\})`, 'y');

// The fixed parts of the writer's entries, as bytes:
//   {\"id\":\"ID\",\"idpath\":\"PATH\"}
//   {\"id\":\"ID\",\"state\":\"-?DIGITS\"}  or  ...\",\"loaded\":\"true\"}
const ID_OPEN = bytesOf(String.raw`{\"id\":\"`);
const PATH_OPEN = bytesOf(String.raw`\",\"idpath\":\"`);
const STATE_OPEN = bytesOf(String.raw`\",\"state\":\"`);
const LOADED_OPEN = bytesOf(String.raw`,\"loaded\":\"`);
const TRUE = bytesOf('true');
const FALSE = bytesOf('false');
const LIST_END = bytesOf(']}');
const BACKSLASH = 92;
const QUOTE = 34;
const SLASH = 47;
const COMMA = 44;
const BRACKET = 93;
const BRACE = 125;
const MINUS = 45;
const ZERO = 48;

// What reading an entry gave.
const READ = 1;
const MORE = 0;         // its bytes are not all there yet
const NOT_WRITERS = -1;  // not an entry of the writer's form

// 1 when bytes[at..] starts with pattern, 0 when not, -1 when the bytes
// end before that is known.
function match(bytes, at, end, pattern) {
  for (let i = 0; i < pattern.length; i++) {
    if (at + i >= end) return -1;
    if (bytes[at + i] !== pattern[i]) return 0;
  }
  return 1;
}

// Bytes of ASCII text as a string; other bytes give characters that no
// ASCII pattern matches.
const ascii = (bytes, start, end) => String.fromCharCode.apply(null, bytes.subarray(start, end));

// An id as the index by id takes it: digits that JavaScript writes back the
// same as a number (most ids), else the text. Both name one property.
function idKey(bytes, start, end) {
  const length = end - start;
  if (length > 0 && length <= 15 && (bytes[start] !== ZERO || length === 1)) {
    let value = 0;
    let at = start;
    for (; at < end; at++) {
      const digit = bytes[at] - ZERO;
      if (digit < 0 || digit > 9) break;
      value = value * 10 + digit;
    }
    if (at === end) return value;
  }
  return decoder.decode(bytes.subarray(start, end));
}

const unescapeTwice = (text) => (text.includes('\\') ? JSON.parse(`"${JSON.parse(`"${text}"`)}"`) : text);

// The path to the node read last: where a document read depth first finds
// the next node's parent. Every node on it has a path that begins the last
// node's, which is kept as bytes.
class Ancestors {
  constructor() {
    this.path = new Uint8Array(256);
    this.lengths = [];
    this.indexes = [];
    this.depth = 0;
  }

  // The node on the path whose idpath is the first length bytes of
  // bytes[start..], or -1; the path is cut back to it.
  parentOf(bytes, start, length) {
    let top = this.depth - 1;
    while (top >= 0 && this.lengths[top] > length) top--;
    if (top >= 0 && this.lengths[top] === length) {
      const { path } = this;
      let i = 0;
      while (i < length && path[i] === bytes[start + i]) i++;
      if (i === length) {
        this.depth = top + 1;
        return this.indexes[top];
      }
    }
    this.depth = 0;
    return -1;
  }

  // The node read last goes on the path, after its parent if found.
  push(bytes, start, end, index) {
    const length = end - start;
    if (length > this.path.length) {
      const longer = new Uint8Array(2 * length);
      longer.set(this.path);
      this.path = longer;
    }
    // Its parent's bytes are there already.
    for (let i = this.depth ? this.lengths[this.depth - 1] : 0; i < length; i++) this.path[i] = bytes[start + i];
    this.lengths[this.depth] = length;
    this.indexes[this.depth++] = index;
  }
}

// The parts of one document, gathered until a batch is full. The nodes'
// ids and tails are gathered as UTF-8 bytes and made text once per batch.
class Batch {
  constructor(reader) {
    this.reader = reader;
    this.parents = new Int32Array(BATCH);
    this.ends = new Uint32Array(2 * BATCH);
    this.bytes = new Uint8Array(1 << 16);
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
    this.length = 0;  // of bytes
    this.wide = false;  // some byte is not ASCII
    this.moves = [];
  }

  get size() {
    return this.nodes + this.states;
  }

  // Adds node index with its id and tail, bytes of the texts given; the
  // reader keeps where in this batch's bytes its tail is.
  addNode(index, parent, idBytes, idStart, idEnd, tailBytes, tailStart, tailEnd) {
    const at = this.nodes++;
    const { reader } = this;
    this.parents[at] = parent;
    this.put(idBytes, idStart, idEnd);
    this.ends[2 * at] = reader.tailStart[index] = this.length;
    this.put(tailBytes, tailStart, tailEnd);
    this.ends[2 * at + 1] = reader.tailEnd[index] = this.length;
    reader.textOf[index] = reader.blocks.length;
    if (this.nodes === BATCH) this.flush();
  }

  // Text that is not ASCII is put as it decodes on its own, so that bytes
  // that are not UTF-8 become the same replacement characters as they
  // would in a text of the name alone.
  put(bytes, start, end) {
    if (this.length + 3 * (end - start) > this.bytes.length) {
      const larger = new Uint8Array(Math.max(2 * this.bytes.length, this.length + 3 * (end - start)));
      larger.set(this.bytes.subarray(0, this.length));
      this.bytes = larger;
    }
    const to = this.bytes;
    let length = this.length;
    let high = 0;
    for (let i = start; i < end; i++) high |= to[length++] = bytes[i];
    if (high & 0x80) {
      this.wide = true;
      length = this.length + encoder.encodeInto(decoder.decode(bytes.subarray(start, end)), to.subarray(this.length)).written;
    }
    this.length = length;
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
      const block = this.bytes.slice(0, this.length);
      const parent = this.parents.slice(0, this.nodes);
      const ends = this.ends.slice(0, 2 * this.nodes);
      // The page counts in UTF-16 code units.
      if (this.wide) countUnits(block, ends);
      const moves = Int32Array.from(this.moves);
      this.reader.blocks.push(block);
      post({ kind: 'nodes', first: this.first, parent, text: decoder.decode(block), ends, moves },
        [parent.buffer, ends.buffer, moves.buffer]);
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

// Turns offsets in UTF-8 bytes, in order, into offsets in UTF-16 code units.
function countUnits(bytes, offsets) {
  let units = 0;
  let at = 0;
  for (let k = 0; k < offsets.length; k++) {
    for (const end = offsets[k]; at < end; at++) {
      const byte = bytes[at];
      if ((byte & 0xc0) !== 0x80) units += byte >= 0xf0 ? 2 : 1;
    }
    offsets[k] = units;
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
    // Each node's tail, in the UTF-8 bytes of the texts of the batches it
    // came in (ids included, as the page has them): offsets, not a string
    // per node.
    this.blocks = [];
    this.textOf = new Int32Array(0);
    this.tailStart = new Uint32Array(0);
    this.tailEnd = new Uint32Array(0);
    this.parent = new Int32Array(0);
    this.firstChild = new Int32Array(0);
    this.lastChild = new Int32Array(0);
    this.next = new Int32Array(0);
    this.roots = [];
    // Their idpaths, by the roots' order.
    this.rootPaths = [];
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
    const idBytes = bytesOf(id);
    const pathBytes = bytesOf(idpath);
    return this.addNodeBytes(batch, id, idBytes, 0, idBytes.length, pathBytes, 0, pathBytes.length, stack, idpath);
  }

  // The same with the id and idpath as UTF-8 bytes; key is the id as the
  // index by id takes it, idpath the text of the path if known (it is made
  // only off the usual way).
  addNodeBytes(batch, key, idBytes, idStart, idEnd, path, pathStart, pathEnd, stack, idpath = null) {
    if (this.byId[key] !== undefined) return false;
    const index = this.size++;
    if (index === this.parent.length) this.grow();
    this.byId[key] = index;
    let cut = pathEnd - 1;
    while (cut >= pathStart && path[cut] !== SLASH) cut--;
    let parent = -1;
    if (cut >= pathStart) {
      // Documents list a branch depth first: the parent is mostly on the path
      // to the node read before.
      parent = stack.parentOf(path, pathStart, cut - pathStart);
      if (parent < 0) {
        idpath ??= decoder.decode(path.subarray(pathStart, pathEnd));
        parent = this.find(idpath.slice(0, idpath.lastIndexOf('/')));
      }
    } else {
      stack.depth = 0;
    }
    const tailStart = parent >= 0 ? cut + 1 : pathStart;
    this.firstChild[index] = -1;
    this.lastChild[index] = -1;
    this.link(index, parent, path, tailStart, pathEnd);
    if (parent < 0 && cut >= pathStart) {
      idpath ??= decoder.decode(path.subarray(pathStart, pathEnd));
      const up = idpath.slice(0, idpath.lastIndexOf('/'));
      const waiting = this.orphans.get(up);
      if (waiting) waiting.push(index);
      else this.orphans.set(up, [index]);
    }
    // Roots that came before their parent join it now, in the batch of the
    // parent, once it is placed.
    if (this.orphans.size) this.adopt(batch, index, idpath ?? decoder.decode(path.subarray(pathStart, pathEnd)), pathEnd - pathStart);
    batch.addNode(index, parent, idBytes, idStart, idEnd, path, tailStart, pathEnd);
    const answered = this.waiting.size ? this.waiting.get(String(key)) : undefined;
    if (answered) {
      this.waiting.delete(String(key));
      batch.late.push([index, ...answered]);
    }
    stack.push(path, pathStart, pathEnd, index);
    return true;
  }

  // The roots waiting for the node index, of idpath (pathLength bytes), as
  // their parent.
  adopt(batch, index, idpath, pathLength) {
    const adopted = this.orphans.get(idpath);
    if (!adopted) return;
    this.orphans.delete(idpath);
    for (const orphan of adopted) {
      if (this.textOf[orphan] === GONE) continue;
      this.unlink(orphan);
      this.tailStart[orphan] += pathLength + 1;
      this.link(orphan, index);
      batch.moves.push(batch.nodes, orphan, index);
    }
  }

  grow() {
    const size = Math.max(1024, this.parent.length * 2);
    for (const name of ['parent', 'firstChild', 'lastChild', 'next', 'textOf', 'tailStart', 'tailEnd']) {
      const bigger = new this[name].constructor(size);
      bigger.set(this[name]);
      this[name] = bigger;
    }
  }

  // A node's tail as text, from the bytes of its batch, which may still be
  // gathering: the answers' batch while an answer is read, else the shared one.
  tail(index) {
    let block = this.blocks[this.textOf[index]];
    if (this.textOf[index] === this.blocks.length) {
      const { answers } = this;
      block = answers?.nodes && index >= answers.first ? answers.bytes : this.shared.bytes;
    }
    return decoder.decode(block.subarray(this.tailStart[index], this.tailEnd[index]));
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

  // Makes index the last child of parent, or a root when parent is -1. Its
  // name (a root's idpath) is made from the bytes given, or its tail when
  // none are, and only for a root or when the parent's children are
  // indexed by name.
  link(index, parent, bytes = null, start = 0, end = 0) {
    this.parent[index] = parent;
    this.next[index] = -1;
    if (parent < 0) {
      this.roots.push(index);
      this.rootPaths.push(this.name(index, bytes, start, end));
      return;
    }
    const last = this.lastChild[parent];
    if (last === -1) this.firstChild[parent] = index;
    else this.next[last] = index;
    this.lastChild[parent] = index;
    const names = this.childNames.size ? this.childNames.get(parent) : undefined;
    if (names) {
      const text = this.name(index, bytes, start, end);
      if (!names.has(text)) names.set(text, index);
    }
  }

  name(index, bytes, start, end) {
    return bytes ? decoder.decode(bytes.subarray(start, end)) : this.tail(index);
  }

  unlink(index) {
    const parent = this.parent[index];
    if (parent < 0) {
      const at = this.roots.indexOf(index);
      this.roots.splice(at, 1);
      this.rootPaths.splice(at, 1);
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
    for (const [at, root] of this.roots.entries()) {
      const rootPath = this.rootPaths[at];
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


// One event's data line, as its bytes come.
class EventData {
  constructor(reader) {
    this.reader = reader;
    this.chunks = [];
    this.length = 0;
    this.scanner = null;
    this.decided = false;
  }

  pushBytes(bytes) {
    this.chunks.push(bytes);
    if (this.scanner) {
      this.scanner.push(bytes);
      return;
    }
    if (this.decided) return;
    this.length += bytes.length;
    const head = this.chunks.length === 1 ? bytes.subarray(0, LONGEST_HEAD) : joined(this.chunks, LONGEST_HEAD);
    const found = EVENT_HEAD.exec(ascii(head, 0, head.length));
    if (found) {
      this.decided = true;
      this.scanner = new DocumentScanner(this.reader, found[2], Number(found[1]));
      let skip = found[0].length;
      for (const chunk of this.chunks) {
        if (skip < chunk.length) this.scanner.push(skip ? chunk.subarray(skip) : chunk);
        skip = Math.max(0, skip - chunk.length);
      }
    } else if (this.length >= LONGEST_HEAD) {
      this.decided = true;
    }
  }

  // A second data line of the same event: the text then holds a newline
  // that the scanner does not expect.
  newline() {
    this.pushBytes(NEWLINE);
    this.scanner?.abandon();
  }

  // The event's JSON text, or null when the reader took the event.
  end() {
    if (this.scanner?.finish()) return null;
    const text = decoder.decode(joined(this.chunks));
    this.chunks = null;
    if (!this.scanner && !EVENT_HEAD.test(text)) return text;
    // A tree event not of the writer's form.
    this.reader.applyEvent(text, this.scanner?.applied ?? 0);
    return null;
  }
}

const NEWLINE = bytesOf('\n');


// Scans a document, escaped inside its event, as its bytes come. The bytes
// not read yet are kept at the front of the reader's scratch array, which
// serves the events one after the other.
class DocumentScanner {
  constructor(reader, method, seq) {
    this.reader = reader;
    this.method = method;
    reader.scratch ??= new Uint8Array(1 << 19);
    this.length = 0;
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
    const left = this.length - this.at;
    let bytes = this.reader.scratch;
    if (left + piece.length > bytes.length) {
      const larger = new Uint8Array(2 * (left + piece.length));
      larger.set(bytes.subarray(this.at, this.length));
      bytes = this.reader.scratch = larger;
    } else if (this.at > 0) {
      bytes.copyWithin(0, this.at, this.length);
    }
    bytes.set(piece, left);
    this.at = 0;
    this.length = left + piece.length;
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
    const bytes = this.reader.scratch;
    if (this.done) {
      if (this.length - this.at > EVENT_TAIL.length) this.failed = true;
      return;
    }
    if (this.key === null) {
      DOCUMENT_HEAD.lastIndex = 0;
      const head = DOCUMENT_HEAD.exec(ascii(bytes, this.at, Math.min(this.length, this.at + LONGEST_DOCUMENT_HEAD)));
      if (!head) {
        if (last || this.length - this.at > LONGEST_DOCUMENT_HEAD) this.failed = true;
        return;
      }
      this.key = head[1];
      this.at += DOCUMENT_HEAD.lastIndex;
      // An empty list.
      if (match(bytes, this.at, this.length, LIST_END) === 1) {
        this.at += LIST_END.length;
        this.done = true;
        return;
      }
    }
    const nodes = this.key === 'treeMapping' || this.key === 'treeRemove';
    for (;;) {
      const read = nodes ? this.nodeEntry(bytes) : this.stateEntry(bytes);
      if (read === NOT_WRITERS || (read === MORE && (last || this.length - this.at > LONGEST_ENTRY))) {
        this.failed = true;
        return;
      }
      if (read === MORE) return;
      this.entries++;
      if (this.done) return;
    }
  }

  // After an entry: a comma, or the end of the list and the document.
  follow(bytes, at) {
    if (at >= this.length) return MORE;
    if (bytes[at] === COMMA) {
      this.at = at + 1;
      return READ;
    }
    const end = match(bytes, at, this.length, LIST_END);
    if (end <= 0) return end < 0 ? MORE : NOT_WRITERS;
    this.at = at + LIST_END.length;
    this.done = true;
    return READ;
  }

  // The id of an entry from at: its end, the backslash before its closing
  // quote, or MORE or NOT_WRITERS.
  id(bytes, at) {
    const opened = match(bytes, at, this.length, ID_OPEN);
    if (opened <= 0) return opened < 0 ? MORE : NOT_WRITERS;
    let end = at + ID_OPEN.length;
    while (end < this.length && bytes[end] !== BACKSLASH && bytes[end] !== QUOTE) end++;
    if (end >= this.length) return MORE;
    return bytes[end] === QUOTE ? NOT_WRITERS : end;
  }

  // A "treeMapping" or "treeRemove" entry. Most idpaths hold nothing
  // escaped and are taken from the bytes as they are; the others are read
  // from their text by the regular expression.
  nodeEntry(bytes) {
    const start = this.at;
    const idEnd = this.id(bytes, start);
    if (idEnd < 0 || idEnd === MORE) return idEnd;
    const opened = match(bytes, idEnd, this.length, PATH_OPEN);
    if (opened <= 0) return opened < 0 ? MORE : NOT_WRITERS;
    const pathStart = idEnd + PATH_OPEN.length;
    // The document's closing quote is escaped once, a quote of the name
    // three times: it follows a run of backslashes one longer than a
    // multiple of four.
    let plain = true;
    let quote = pathStart;
    for (;; quote++) {
      quote = bytes.indexOf(QUOTE, quote);
      if (quote < 0 || quote >= this.length) return MORE;
      let run = 0;
      while (bytes[quote - 1 - run] === BACKSLASH) run++;
      if (run % 4 === 1) break;
      plain = false;
    }
    const pathEnd = quote - 1;
    if (plain && bytes.indexOf(BACKSLASH, pathStart) < pathEnd) plain = false;
    if (quote + 1 >= this.length) return MORE;
    if (bytes[quote + 1] !== BRACE) return NOT_WRITERS;
    const read = this.follow(bytes, quote + 2);
    if (read !== READ) return read;
    const mapping = this.key === 'treeMapping';
    const { reader } = this;
    if (plain) {
      const key = idKey(bytes, start + ID_OPEN.length, idEnd);
      if (mapping) reader.addNodeBytes(this.batch, key, bytes, start + ID_OPEN.length, idEnd, bytes, pathStart, pathEnd, this.stack);
      else (this.removed ??= []).push(key);
      return READ;
    }
    const text = decoder.decode(bytes.subarray(start, this.at));
    NODE_ENTRY.lastIndex = 0;
    const found = NODE_ENTRY.exec(text);
    if (!found || NODE_ENTRY.lastIndex !== text.length) return NOT_WRITERS;
    if (mapping) reader.addNode(this.batch, found[1], unescapeTwice(found[2]), this.stack);
    else (this.removed ??= []).push(found[1]);
    return READ;
  }

  // A "treeUpdate" or "treeUpdateChanges" entry: an id and digits, and
  // "true" or "false" if loaded is told.
  stateEntry(bytes) {
    const start = this.at;
    const end = this.length;
    const idEnd = this.id(bytes, start);
    if (idEnd < 0 || idEnd === MORE) return idEnd;
    const opened = match(bytes, idEnd, end, STATE_OPEN);
    if (opened <= 0) return opened < 0 ? MORE : NOT_WRITERS;
    let at = idEnd + STATE_OPEN.length;
    const negative = at < end && bytes[at] === MINUS;
    if (negative) at++;
    let state = 0;
    const digits = at;
    for (; at < end && bytes[at] >= ZERO && bytes[at] <= ZERO + 9; at++) state = state * 10 + bytes[at] - ZERO;
    if (at >= end) return MORE;
    if (at === digits || at - digits > 9) return NOT_WRITERS;
    // \" then } or ,\"loaded\":\"true\"}
    if (at + 2 >= end) return MORE;
    if (bytes[at] !== BACKSLASH || bytes[at + 1] !== QUOTE) return NOT_WRITERS;
    at += 2;
    let loaded = -1;
    if (bytes[at] !== BRACE) {
      const told = match(bytes, at, end, LOADED_OPEN);
      if (told <= 0) return told < 0 ? MORE : NOT_WRITERS;
      at += LOADED_OPEN.length;
      const yes = match(bytes, at, end, TRUE);
      const no = yes === 1 ? 0 : match(bytes, at, end, FALSE);
      if (yes < 0 || no < 0) return MORE;
      if (yes === 0 && no === 0) return NOT_WRITERS;
      loaded = yes;
      at += yes ? TRUE.length : FALSE.length;
      if (at + 2 >= end) return MORE;
      if (bytes[at] !== BACKSLASH || bytes[at + 1] !== QUOTE || bytes[at + 2] !== BRACE) return NOT_WRITERS;
      at += 2;
    }
    const read = this.follow(bytes, at + 1);
    if (read !== READ) return read;
    this.reader.setState(this.batch, idKey(bytes, start + ID_OPEN.length, idEnd), negative ? -state : state, loaded);
    return READ;
  }

  // True when the whole document was read here; else the event goes to
  // JSON.parse, from the entry this scanner stopped at.
  finish() {
    if (!this.failed) this.scan(true);
    if (this.failed || !this.done || this.length - this.at !== EVENT_TAIL.length ||
        match(this.reader.scratch, this.at, this.length, EVENT_TAIL) !== 1) {
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
