// The page's reading of tree documents gives what JSON.parse gives, for the
// texts its scanner takes and for those it leaves to JSON.parse.
//
//   node documents.test.mjs

import assert from 'node:assert/strict';
import { parseTreeDocument } from '../../devhost/web/documents.js';

const mapping = (...entries) => `{"treeMapping":[${entries.map(([id, path]) =>
  `{"id":"${id}","idpath":${JSON.stringify(path)}}`).join(',')}]}`;

const same = [
  mapping(['1', 'product'], ['2', 'product/n0'], ['3', 'product/n0/n1']),
  mapping(['0', 'a "quoted" \\ path/with\ttab/\u0001/ü/日本/😀']),
  mapping(['7', '']),
  '{"treeMapping":[]}',
  '{"treeRemove":[{"id":"2","idpath":"product/n0"}]}',
  '{"treeUpdate":[{"id":"1","state":"5","loaded":"true"},{"id":"2","state":"4"}]}',
  '{\n\n"treeUpdateChanges":\n[\n{"id": "7","state": "5"}\n]\n\n}\n',
  '{\n\n"clearTree":"true"}\n',
  `${mapping(['1', 'a'])}\n`,
  '{"treeMapping":[{"id":"1","idpath":"a","x":1}]}',
];
for (const text of same) assert.deepEqual(parseTreeDocument(text), JSON.parse(text), text);

// Texts that are not JSON read as nothing, whichever reader looks at them.
for (const text of ['{"treeMapping":[{"id":"1","idpath":"a"},]}', '{"treeMapping":[{"id":"1","idpath":"a\\q"}]}',
  '{"treeMapping":[{"id":"1","idpath":"a\u0001"}]}', '{"treeMapping":[{"id":"1","idpath":"a"}]}}', ''])
  assert.equal(parseTreeDocument(text), null, text);
