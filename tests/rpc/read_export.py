#!/usr/bin/env python3
"""Reads exports with an independent parser and tells what they hold.

    read_export.py FILE...

One line a parameter, its path and its value with a tab between, file by file. Fails on anything that is no export.
"""

import sys
import xml.etree.ElementTree as ElementTree

OBJECT_ATTRIBUTES = {"name", "writable", "notification", "type"}
PARAMETER_ATTRIBUTES = OBJECT_ATTRIBUTES | {"function", "value", "enumeration"}


def lines_of(element, path):
    attributes = element.attrib
    assert element.tag == "Element", element.tag
    assert not (element.text or "").strip() and not (element.tail or "").strip()
    assert attributes.get("writable", "1") == "1" and attributes.get("notification", "1") in ("1", "2")
    if attributes["name"].endswith("."):
        assert set(attributes) <= OBJECT_ATTRIBUTES and attributes["type"] == "object"
        for child in element:
            yield from lines_of(child, path + attributes["name"])
    else:
        assert set(attributes) <= PARAMETER_ATTRIBUTES and attributes["type"] and len(element) == 0
        yield path + attributes["name"] + "\t" + attributes["value"]


def main():
    for name in sys.argv[1:]:
        root = ElementTree.parse(name).getroot()
        assert root.tag == "VANTREL_CML" and not root.attrib and len(root) == 1, name
        for line in lines_of(root[0], ""):
            print(line)


if __name__ == "__main__":
    main()
