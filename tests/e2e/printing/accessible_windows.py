# SPDX-License-Identifier: MIT
"""Prints, as JSON, what a screen reader sees of every program that shows windows in its session: the programs by name, each
with its windows as trees. Runs as the session's user; `screen_reader.py` starts it."""

import json

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402  pylint: disable=wrong-import-position

STATES = {"focused": Atspi.StateType.FOCUSED, "editable": Atspi.StateType.EDITABLE,
          "focusable": Atspi.StateType.FOCUSABLE, "showing": Atspi.StateType.SHOWING, "default": Atspi.StateType.IS_DEFAULT,
          "checked": Atspi.StateType.CHECKED, "enabled": Atspi.StateType.ENABLED}


def children(node):
    return [child for child in (node.get_child_at_index(i) for i in range(node.get_child_count())) if child]


def labels(node):
    return [relation.get_target(0).get_name() for relation in node.get_relation_set()
            if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY]


def text(node):
    """What the program gives out of a field's contents; None for what has no text interface."""
    if not node.get_text_iface():
        return None
    return Atspi.Text.get_text(node, 0, Atspi.Text.get_character_count(node))


def tree(node):
    states = node.get_state_set()
    return {"name": node.get_name(), "role": node.get_role_name(), "description": node.get_description(),
            "states": [name for name, state in STATES.items() if states.contains(state)], "labels": labels(node),
            "text": text(node), "children": [tree(child) for child in children(node)]}


print(json.dumps({program.get_name(): [tree(window) for window in children(program)]
                  for program in children(Atspi.get_desktop(0))}))
