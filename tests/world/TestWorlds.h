#pragma once

namespace wtest {

// A small world with every kind of proxy, a shape scene and views of
// several kinds.
inline const char* kSmallWorld = R"({
  "actorName": "small",
  "structure": [
    {"name": "a", "uid": 100, "children": [
      {"name": "p1"},
      {"name": "p2"},
      {"name": "sub", "children": [{"name": "q1"}]},
      {"name": "px", "proxy": {"outcome": "expand", "children": [
        {"name": "c1"},
        {"name": "c2", "proxy": {"outcome": "expand", "completion": "manual", "children": [{"name": "d1"}]}}
      ]}},
      {"name": "pf", "proxy": {"outcome": "fail", "children": [{"name": "never"}]}},
      {"name": "pn", "proxy": {"outcome": "never", "children": [{"name": "n1"}]}},
      {"name": "pm", "proxy": {"outcome": "expand", "completion": "manual", "children": [{"name": "m1"}]}}
    ]}
  ],
  "scenes": [
    {"name": "main", "shapes": ["a", "a/p1", {"instance": "a/p2", "visible": false, "color": "0x11223344"}],
     "views": [{"name": "main3d", "kind": "shape"}]},
    {"name": "sheets", "kind": "plain", "views": [{"name": "sheet", "kind": "drawing"},
                                                {"name": "ill", "kind": "illustration"},
                                                {"name": "ecad", "kind": "0x4e"}]}
  ],
  "activeView": "main3d",
  "messages": {"qxbase:qxkStrings": {"7000": "Loading the model"}}
})";

}  // namespace wtest
