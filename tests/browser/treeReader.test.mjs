// The tree worker's reading of tree events (treeReader.js) and the page's
// columnar tree (treeModel.js) against a plain reading of the same events:
// JSON.parse of each document applied to a map of nodes by the page's rules
// (a node's parent is the node whose idpath is its own up to the last "/",
// whenever that one comes; a known id is not added again; a removal takes
// the branch). Random trees, names with every escape, events cut anywhere,
// documents in and out of the writer's form, a stream read twice, and state
// query answers read ahead of the events before them.
//
//   node treeReader.test.mjs [SEED]

import assert from 'node:assert/strict';
import { TreeReader } from '../../devhost/web/treeReader.js';
import { TreeModel } from '../../devhost/web/treeModel.js';

let seed = Number(process.argv[2] ?? 20261124);
const random = () => {
  seed = (seed * 1103515245 + 12345) % 2147483648;
  return seed / 2147483648;
};
const pick = (list) => list[Math.floor(random() * list.length)];

// ---- the plain reading ---------------------------------------------------------

class PlainTree {
  constructor() {
    this.nodes = new Map();  // id -> {idpath, parent id or null, state, loaded, children ids}
    this.roots = [];
  }

  apply(document) {
    if (!document || typeof document !== 'object') return;
    const key = ['treeMapping', 'treeRemove', 'treeUpdate', 'treeUpdateChanges', 'clearTree'].find((name) => document[name]);
    const entries = Array.isArray(document[key]) ? document[key] : [];
    if (key === 'clearTree') Object.assign(this, new PlainTree());
    if (key === 'treeMapping') for (const { id, idpath } of entries) this.add(String(id), idpath);
    if (key === 'treeRemove') for (const { id } of entries) this.remove(String(id));
    if (key === 'treeUpdate' || key === 'treeUpdateChanges') {
      for (const { id, state, loaded } of entries) {
        const node = this.nodes.get(String(id));
        if (!node) continue;
        node.state = Number(state);
        if (loaded !== undefined) node.loaded = loaded === 'true';
      }
    }
  }

  add(id, idpath) {
    if (this.nodes.has(id)) return;
    const cut = idpath.lastIndexOf('/');
    const parent = cut < 0 ? undefined : [...this.nodes].find(([, node]) => node.idpath === idpath.slice(0, cut))?.[0];
    this.nodes.set(id, { idpath, parent: parent ?? null, state: 0, loaded: undefined, children: [] });
    (parent ? this.nodes.get(parent).children : this.roots).push(id);
    for (const orphan of [...this.roots]) {
      const path = this.nodes.get(orphan).idpath;
      if (orphan !== id && path.slice(0, Math.max(0, path.lastIndexOf('/'))) === idpath && path.includes('/')) {
        this.roots.splice(this.roots.indexOf(orphan), 1);
        this.nodes.get(orphan).parent = id;
        this.nodes.get(id).children.push(orphan);
      }
    }
  }

  remove(id) {
    const node = this.nodes.get(id);
    if (!node) return;
    const siblings = node.parent ? this.nodes.get(node.parent).children : this.roots;
    siblings.splice(siblings.indexOf(id), 1);
    const drop = (gone) => {
      this.nodes.get(gone).children.forEach(drop);
      this.nodes.delete(gone);
    };
    drop(id);
  }
}

// The columnar tree as the plain one, for comparing.
function shape(model) {
  const out = new Map();
  const visit = (node, parent) => {
    out.set(node.id, { idpath: node.idpath, parent, state: node.state, loaded: node.loaded, children: node.children.map((child) => child.id) });
    assert.equal(node.name, node.idpath.slice(node.idpath.lastIndexOf('/') + 1));
    assert.equal(node.childCount, node.children.length);
    for (const child of node.children) visit(child, node.id);
  };
  model.roots.forEach((root) => visit(root, null));
  assert.equal(out.size, model.size, 'every node is on the tree');
  return { nodes: out, roots: model.roots.map((root) => root.id) };
}

function same(model, plain, what) {
  const got = shape(model);
  assert.deepEqual(got.roots, plain.roots, `${what}: roots`);
  assert.equal(got.nodes.size, plain.nodes.size, `${what}: size`);
  for (const [id, node] of plain.nodes) {
    const { idpath, parent, state, loaded, children } = node;
    assert.deepEqual(got.nodes.get(id), { idpath, parent, state, loaded, children }, `${what}: node ${id}`);
    assert.equal(model.find(idpath)?.id !== undefined, true, `${what}: ${JSON.stringify(idpath)} is found`);
  }
}

// ---- events as the gateway writes them -------------------------------------

const NAME_PARTS = ['a', 'b', 'part', '"', '\\', '\t', '\n', '\u0001', '\u001f', 'ü', '日本', '😀', ' ', '/', '}', ',', '\\"'];
const name = () => Array.from({ length: 1 + Math.floor(random() * 3) }, () => pick(NAME_PARTS)).join('');

let seq = 0;
const event = (method, document) => JSON.stringify({ seq: ++seq, interface: 'webapi::TreeObserver', method,
  signature: `${method}__IS`, args: [document] });
const writerForm = (key, entries) => JSON.stringify({ [key]: entries });
const handBuilt = (entries) => `{\n\n"treeUpdateChanges":\n[\n${entries.map(({ id, state }) =>
  `{"id": "${id}","state": "${state}"}`).join(',\n')}\n]\n\n}\n`;

// A random forest under a path (or of roots), listed depth first, its ids
// from firstId. An idpath names one node: used holds those given out.
function forest(size, firstId, used, under = null) {
  const entries = [];
  const fresh = (path) => {
    let idpath;
    do idpath = path === null ? pick(['product', 'other', name()]) : `${path}/${name()}`; while (used.has(idpath));
    used.add(idpath);
    entries.push({ id: String(firstId + entries.length), idpath });
    return idpath;
  };
  const grow = (path, depth) => {
    const children = depth > 4 ? 0 : Math.floor(random() * 5);
    for (let i = 0; i < children && entries.length < size; i++) grow(fresh(path), depth + 1);
  };
  while (entries.length < size) grow(fresh(under), 0);
  return entries;
}

// Feeds an event's bytes to the reader cut at random places, inside a
// character's UTF-8 bytes too; gives the text when the reader did not take
// the event.
const utf8 = (text) => new TextEncoder().encode(text);
function feed(reader, text, parts, cuts = 1 + Math.floor(random() * 6)) {
  const data = reader.eventData();
  const bytes = utf8(text);
  const at = [...Array.from({ length: cuts }, () => Math.floor(random() * bytes.length)), bytes.length].sort((a, b) => a - b);
  let start = 0;
  for (const end of at) {
    if (end > start) data.pushBytes(bytes.subarray(start, end));
    start = end;
  }
  const before = parts.length;
  const result = data.end();
  return { result, atEnd: parts.length - before };
}

function run(round) {
  const parts = [];
  const reader = new TreeReader((part) => parts.push(part));
  const model = new TreeModel();
  const plain = new PlainTree();
  const take = () => {
    for (const part of parts.splice(0)) model.apply(part);
  };
  let nextId = 1;
  const used = new Set();
  const send = (method, document, what) => {
    const { result } = feed(reader, event(method, document), parts);
    assert.equal(result, null, `${what}: a tree event is the reader's`);
    take();
    let parsed = null;
    try {
      parsed = JSON.parse(document);
    } catch {
      // Not JSON: no document, nothing changes.
    }
    plain.apply(parsed);
    same(model, plain, `round ${round}, ${what}`);
  };

  const first = forest(200 + Math.floor(random() * 200), nextId, used);
  nextId += first.length;
  send('OnTreeMapping', writerForm('treeMapping', first), 'the first mapping');
  const states = first.map(({ id }) => ({ id, state: String(1 + Math.floor(random() * 9)),
    ...(random() < 0.5 ? { loaded: pick(['true', 'false']) } : {}) }));
  send('OnTreeUpdate', writerForm('treeUpdate', states), 'the initial states');

  for (let step = 0; step < 12; step++) {
    const known = [...plain.nodes.keys()];
    const kind = pick(['branch', 'shuffled', 'again', 'changes', 'hand', 'remove', 'odd', 'broken', 'empty', 'ahead']);
    if (kind === 'branch' || kind === 'shuffled') {
      // A branch under a known node, depth first or in any order.
      const under = plain.nodes.get(pick(known))?.idpath ?? 'product';
      const branch = forest(20, nextId, used, under);
      nextId += branch.length;
      if (kind === 'shuffled') branch.sort(() => random() - 0.5);
      send('OnTreeMapping', writerForm('treeMapping', branch), kind);
    } else if (kind === 'again') {
      send('OnTreeMapping', writerForm('treeMapping', first.slice(0, 50)), 'known ids again');
    } else if (kind === 'changes') {
      send('OnTreeUpdate', writerForm('treeUpdateChanges', known.slice(0, 30).map((id) => ({ id, state: '5' }))), 'changes');
    } else if (kind === 'hand') {
      send('OnTreeUpdate', handBuilt(known.slice(-20).map((id) => ({ id, state: 3 }))), 'hand-built changes');
    } else if (kind === 'remove') {
      const gone = [pick(known), pick(known), 'no-such-id'].map((id) => ({ id, idpath: plain.nodes.get(id)?.idpath ?? 'x' }));
      send('OnTreeMapping', writerForm('treeRemove', gone), 'a removal');
    } else if (kind === 'odd') {
      // JSON the module does not write: spaces, extra members, numbers.
      send('OnTreeMapping', JSON.stringify({ treeMapping: [{ id: nextId, idpath: `${pick(known.map((id) => plain.nodes.get(id).idpath))}/odd${nextId}`, x: 1 }] }, null, 1), 'spaced');
      nextId++;
    } else if (kind === 'ahead') {
      // An answer about known nodes and a branch whose mapping is half read,
      // read between its pieces and before an older update of the same
      // nodes: the answer's states stand, the branch's wait for its nodes.
      const branch = forest(20, nextId, used, plain.nodes.get(pick(known))?.idpath ?? 'product');
      nextId += branch.length;
      const named = [...known.slice(0, 10), ...branch.map(({ id }) => id)];
      const mapping = writerForm('treeMapping', branch);
      const older = writerForm('treeUpdate', named.map((id) => ({ id, state: '2' })));
      const answer = handBuilt(named.map((id) => ({ id, state: 8 })));
      const mappingText = event('OnTreeMapping', mapping);
      const olderText = event('OnTreeUpdate', older);
      const data = reader.eventData();
      const mappingBytes = utf8(mappingText);
      const half = Math.floor(random() * mappingBytes.length);
      data.pushBytes(mappingBytes.subarray(0, half));
      reader.applyAnswer(event('OnTreeUpdate', answer));
      data.pushBytes(mappingBytes.subarray(half));
      assert.equal(data.end(), null);
      assert.equal(feed(reader, olderText, parts).result, null);
      take();
      for (const document of [mapping, older, answer]) plain.apply(JSON.parse(document));
      same(model, plain, `round ${round}, an answer read ahead`);
    } else if (kind === 'broken') {
      send('OnTreeUpdate', `${writerForm('treeUpdate', [{ id: known[0], state: '7' }])}}`, 'not JSON');
    } else {
      send('OnTreeUpdate', writerForm('treeUpdate', []), 'an empty list');
    }
  }

  // A stream read again after a lost connection: the mapping's start was
  // read, then the whole of it comes again.
  const again = forest(100, nextId, used);
  nextId += again.length;
  const text = event('OnTreeMapping', writerForm('treeMapping', again));
  const cut = reader.eventData();
  const bytes = utf8(text);
  const half = Math.floor(bytes.length / 2);
  for (let at = 0; at < half; at += 1000) cut.pushBytes(bytes.subarray(at, Math.min(half, at + 1000)));
  take();
  send('OnTreeMapping', writerForm('treeMapping', again), 'a mapping read twice');

  send('OnTreeUpdate', '{\n\n"clearTree":"true"}\n', 'clearTree');
  assert.equal(model.size, 0);
}

for (let round = 0; round < 40; round++) run(round);

// A large mapping in the writer's form is read as it comes: its first rows
// are out before its end, in batches, and every other event is left as text.
{
  const parts = [];
  const reader = new TreeReader((part) => parts.push(part));
  const entries = [{ id: '1', idpath: 'product' }];
  for (let i = 0; entries.length < 100000; i++) {
    entries.push({ id: String(entries.length + 1), idpath: `product/n${i}` });
    for (let j = 0; j < 9; j++) entries.push({ id: String(entries.length + 1), idpath: `product/n${i}/${name()}${j}` });
  }
  const text = utf8(event('OnTreeMapping', writerForm('treeMapping', entries)));
  const data = reader.eventData();
  for (let at = 0; at < text.length; at += 65536) {
    data.pushBytes(text.subarray(at, at + 65536));
    if (at === 0) assert.ok(parts.some((part) => part.kind === 'nodes'), 'the first piece gives rows');
  }
  const nodesBefore = parts.filter((part) => part.kind === 'nodes').length;
  assert.ok(nodesBefore > 3, 'the rows come in batches as the text comes');
  assert.equal(data.end(), null);
  assert.deepEqual(parts.at(-1), { kind: 'end', method: 'OnTreeMapping', document: 'treeMapping' });
  const model = new TreeModel();
  for (const part of parts) model.apply(part);
  assert.equal(model.size, entries.length);

  const other = JSON.stringify({ seq: 9, interface: 'webapi::ViewablesRequest', method: 'ViewablesResult', args: ['{"viewable":{}}', 1] });
  assert.equal(feed(reader, other, parts).result, other);
}

console.log('tree reader: 40 random rounds and a streamed mapping read as JSON.parse reads them');
