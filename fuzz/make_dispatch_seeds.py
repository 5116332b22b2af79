#!/usr/bin/env python3
"""Writes the dispatcher target's seeds: one well-formed request for each
method, plus a few malformed ones, in the layout DispatchFuzzer.cpp reads."""
import os
import struct
import sys

def s(text):
    data = text.encode()
    return bytes([1, len(data)]) + data

def null(): return bytes([0])
def d(x): return bytes([2]) + struct.pack('<d', x)
def i(x): return bytes([3]) + struct.pack('<i', x)
def u(x): return bytes([4]) + struct.pack('<I', x)
def b(x): return bytes([5, 1 if x else 0])
def h(kind, table=0): return bytes([6, kind]) + struct.pack('<h', table)

def request(tag, *values, one_way=False, table=None):
    flags = (1 if one_way else 0) | (2 if table is not None else 0)
    head = bytes([flags]) + (struct.pack('<h', table) if table is not None else b'')
    return head + struct.pack('<b', tag) + b''.join(values)

ARM = 'drone/frame/arm_1'
SEEDS = {
    'get_current_selection': request(0),
    'set_instances_color': request(1, u(2), s(ARM), s('drone/frame/arm_2'), b(False), s('0x00ff0000')),
    'set_instances_color_empty': request(1, u(0), b(True), s('ff')),
    'get_instance_color': request(2, s(ARM)),
    'restore_visibility': request(3),
    'load_instances': request(4, s('["drone/electronics/gps"]')),
    'unload_instances': request(5, s('["drone/electronics/gps"]')),
    'add_annotation_label': request(6, s('label'), d(1.0), d(2.0), d(3.0)),
    'load_annotation_set': request(7, s('exploded')),
    'get_annotation_set_name': request(8, u(0)),
    'get_number_of_annotation_sets': request(9),
    'get_viewables': request(10, h(3), i(1)),
    'zoom_to_selected': request(11, i(0)),
    'zoom_to_all': request(12, i(1)),
    'set_cross_selection': request(13, b(True)),
    'register_tree_observer': request(14, h(2)),
    'unregister_tree_observer': request(15, h(2)),
    'select_tree_nodes': request(16, s('{"primaryNode":"12"}')),
    'get_profiles': request(17),
    'set_profile': request(18, s('default')),
    'reset_profile': request(19),
    'toggle_connection_path': request(20),
    'navigate_connection': request(21),
    'reverse_navigate_connection': request(22),
    'show_model_annotations': request(23, s('drone/frame/body_top'), s('dim_width')),
    'hide_model_annotations': request(24, s('drone/frame/body_top'), s('dim_width')),
    'show_all_model_annotations': request(25),
    'hide_all_model_annotations': request(26),
    'set_model_annotation_color': request(27, s('drone/frame/body_top'), s('dim_width'), s('ff0000')),
    'get_model_annotation_color': request(28, s('drone/frame/body_top'), s('dim_width')),
    'get_all_model_annotations': request(29),
    'bad_table': request(0, table=1),
    'bad_tag': request(30),
    'negative_tag': request(-1),
    'wrong_type': request(2, d(1.5)),
    'one_way_register': request(14, h(2), one_way=True),
    'observer_of_wrong_interface': request(14, h(3)),
    'null_observer': request(14, h(0)),
    'stale_handle': request(10, h(5), i(0)),
    'null_string': request(4, null()),
}

folder = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), 'corpus', 'dispatch')
os.makedirs(folder, exist_ok=True)
for name, data in SEEDS.items():
    with open(os.path.join(folder, name), 'wb') as out:
        out.write(data)
