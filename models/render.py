#!/usr/bin/env python3
"""Render a device profile to the factory default configuration the daemon loads.

The facts say what the public data model allows, the profile says what one
device makes of it. README.md beside this file describes both. The same input
gives the same bytes.
"""

import argparse
import csv
import re
import sys
from dataclasses import dataclass, field
from pathlib import Path

ROOT = "InternetGatewayDevice."
INSTANCE = "{i}."
UNKNOWN_TIME = "0001-01-01T00:00:00Z"

# Limits are signed 32-bit in the daemon; a larger bound is no bound there.
INT_MAX = 2**31 - 1

NOTIFICATION = {"passive": "1", "active": "2"}
ACCESS = {"ro": False, "rw": True}


class ProfileError(Exception):
    """A line of the profile that cannot be followed."""


@dataclass
class Parameter:
    name: str
    type: str
    enumeration: str
    writable: bool
    default: str


@dataclass
class Object:
    path: str  # model form, below the root: "LANDevice.{i}.Hosts."
    writable: bool
    parameters: dict = field(default_factory=dict)
    children: list = field(default_factory=list)
    counters: list = field(default_factory=list)  # for a table: its names

    @property
    def is_table(self):
        return self.path.endswith("." + INSTANCE)

    @property
    def name(self):
        return own_name(self.path)


@dataclass
class Line:
    """An assignment to parameters: its pattern, its text, its place."""

    pattern: list
    text: str
    number: int
    used: bool = False


def own_name(path):
    """The last component of an object path; for a table the table's own."""
    stem = path.removesuffix(INSTANCE)
    return stem[:-1].rpartition(".")[2] + "."


def parent_path(path):
    """The object that holds a parameter, an object or a table."""
    if not path.endswith("."):
        return path.rpartition(".")[0] + "." if "." in path else ""
    return path.removesuffix(INSTANCE).removesuffix(own_name(path))


def model_form(path):
    """Every instance number, the template's included, becomes "{i}"."""
    return re.sub(r"(^|(?<=\.))\d+\.", INSTANCE, path)


# --- the facts ---------------------------------------------------------------


def load_facts(path):
    with open(path, newline="", encoding="utf-8") as source:
        rows = list(csv.DictReader(source))
    return {row["path"].removeprefix(ROOT): row for row in rows}


def range_suffix(low, high):
    low = int(low or 0)
    high = int(high or 0)
    if high > INT_MAX:
        high = 0
    if high:
        return f"[{low}:{high}]"
    return f"[{low}:]" if low else ""


def type_text(row):
    """The type attribute for a parameter of the facts."""
    kind = row["type"]
    length = int(row["max_length"] or 0)
    if row["list"] or row["enumeration"]:
        # A list is more than one value of its item type. An enumeration
        # travels beside a plain string: the length would be lost on a save.
        kind = "string"
        if row["enumeration"] and not row["list"]:
            length = 0
    if kind in ("string", "Alias", "UUID"):
        return f"string({length})" if length else "string"
    if kind == "hexBinary":  # the facts count bytes
        return f"string({2 * length})" if length else "string"
    if kind == "base64":
        return f"base64({length})" if length else "base64"
    if kind in ("int", "long"):
        return "int" + range_suffix(row["min"], row["max"])
    if kind in ("unsignedInt", "unsignedLong"):
        return "unsignedInt" + range_suffix(row["min"], row["max"])
    if kind == "IPAddress":
        return "netmask" if row["path"].endswith("Mask") else "ipAddress"
    if kind == "MACAddress":
        return "macAddress"
    if kind in ("boolean", "dateTime"):
        return kind
    raise ValueError(f"{row['path']}: no type for {kind}")


def neutral_value(type_name, enumeration):
    """The default where the standard names none."""
    if enumeration:
        return enumeration.split(",")[0]
    if type_name == "boolean":
        return "0"
    if type_name == "dateTime":
        return UNKNOWN_TIME
    if type_name.startswith(("int", "unsignedInt")):
        low = int(re.search(r"\[(-?\d+):|$", type_name)[1] or 0)
        high = int(re.search(r":(\d+)\]|$", type_name)[1] or INT_MAX)
        return "0" if low <= 0 <= high else str(low)
    return ""


def parameter_of(row):
    type_name = type_text(row)
    enumeration = "" if row["list"] else row["enumeration"]
    default = row["default"]
    if type_name == "boolean" and default:
        default = {"false": "0", "true": "1"}[default]
    return Parameter(
        name=row["path"].rpartition(".")[2],
        type=type_name,
        enumeration=enumeration,
        writable=row["access"] == "readWrite",
        default=default or neutral_value(type_name, enumeration),
    )


# --- the profile -------------------------------------------------------------


class Profile:
    """What the profile takes from the facts and what it sets there."""

    def __init__(self, facts, source):
        self.facts = facts
        self.source = source
        self.since = {}
        self.taken = {}
        self.trees = {}
        self.without = []
        self.extra = {}
        self.additions = []
        self.types = {}
        self.instances = []
        self.assignments = {"set": {}, "live": {}, "notify": {}}
        self._number = 0
        self._read()
        self.objects = self._build()

    def fail(self, text, number=None):
        raise ProfileError(f"{self.source}:{number or self._number}: {text}")

    def _read(self):
        section = ""
        lines = Path(self.source).read_text(encoding="utf-8").split("\n")
        for self._number, line in enumerate(lines, 1):
            line = line.strip()
            if not line or line.startswith("#"):
                continue
            if line.startswith("["):
                if not line.endswith("]"):
                    self.fail("a section has no closing bracket")
                section = line[1:-1]
                continue
            verb, _, rest = line.partition(" ")
            handler = getattr(self, "_do_" + verb, None)
            if handler is None:
                self.fail(f"unknown word {verb}")
            if verb == "since":
                handler(rest.strip())
                continue
            name, _, text = rest.strip().partition(" ")
            if not name:
                self.fail(f"{verb} needs a path")
            handler(section + name.removeprefix("."), text.strip())

    def _do_since(self, text):
        model, _, version = text.rpartition(":")
        self.since[model] = version_key(version)

    def _fact(self, path, kinds):
        row = self.facts.get(path)
        if row is None or row["kind"] not in kinds:
            self.fail(f"the facts have no such {kinds[-1]}: {path}")
        return row

    def _do_object(self, path, _):
        self._fact(path, ("table", "object"))
        self.taken[path] = self._number

    def _do_tree(self, path, _):
        self._fact(path, ("table", "object"))
        self.trees[path] = self._number

    def _do_without(self, path, _):
        self._fact(path, ("table", "object", "parameter"))
        self.without.append(path)

    def _do_with(self, path, _):
        self._fact(path, ("parameter",))
        self.extra[path] = self._number

    def _do_vendor(self, path, access):
        if access not in ACCESS:
            self.fail("vendor needs ro or rw")
        self.additions.append((self._number, path, Object(path, ACCESS[access])))

    def _do_param(self, path, text):
        words = text.split(None, 2)
        if len(words) < 2 or words[1] not in ACCESS:
            self.fail("param needs a type and ro or rw")
        name = path.rpartition(".")[2]
        default = words[2] if len(words) > 2 else neutral_value(words[0], "")
        addition = Parameter(name, words[0], "", ACCESS[words[1]], default)
        self.additions.append((self._number, path, addition))

    def _do_counter(self, path, name):
        if not path.endswith("." + INSTANCE) or not name:
            self.fail("counter needs a table and a name")
        self.additions.append((self._number, path, name))

    def _do_type(self, path, text):
        self.types[path] = (self._number, text)

    def _do_instances(self, path, text):
        numbers = []
        for part in text.split():
            first, _, last = part.partition("-")
            numbers.extend(range(int(first), int(last or first) + 1))
        if not numbers or numbers != sorted(set(numbers)) or numbers[0] < 1:
            self.fail("instances needs ascending numbers from 1")
        table = model_form(path) + INSTANCE
        self.instances.append((table, Line(path.split("."), numbers, self._number)))

    def _assign(self, verb, path, text):
        line = Line(path.split("."), text, self._number)
        self.assignments[verb].setdefault(model_form(path), []).append(line)

    def _do_set(self, path, text):
        self._assign("set", path, text)

    def _do_live(self, path, text):
        self._assign("live", path, text)

    def _do_notify(self, path, text):
        if text not in NOTIFICATION:
            self.fail("notify needs passive or active")
        self._assign("notify", path, NOTIFICATION[text])

    # The order of the facts is the order of the output; what the profile adds
    # comes behind it, in the profile's order.

    def _build(self):
        objects = {"": Object("", False)}
        rows = [row for row in self.facts.items() if row[0]]
        for path, row in rows:
            if row["kind"] == "parameter" or not self._takes_object(path, row):
                continue
            self._number = self.taken.get(path) or self.trees.get(path)
            self._adopt(objects, Object(path, row["access"] == "readWrite"))
            if row["count_parameter"]:
                objects[path].counters.append(row["count_parameter"])
        for path, row in rows:
            holder = objects.get(parent_path(path))
            if row["kind"] == "parameter" and holder is not None:
                if self._takes_parameter(path, row, holder):
                    holder.parameters[path.rpartition(".")[2]] = parameter_of(row)
        for self._number, path, addition in self.additions:
            self._add(objects, path, addition)
        for path, (number, text) in self.types.items():
            holder = objects.get(parent_path(path))
            name = path.rpartition(".")[2]
            if holder is None or name not in holder.parameters:
                self.fail(f"the device has no such parameter: {path}", number)
            holder.parameters[name].type = text
        for path, number in self.extra.items():
            if parent_path(path) not in objects:
                self.fail(f"nothing holds {path}", number)
        return objects

    def _adopt(self, objects, child):
        holder = objects.get(parent_path(child.path))
        if holder is None:
            self.fail(f"nothing holds {child.path}")
        holder.children.append(child)
        objects[child.path] = child

    def _add(self, objects, path, addition):
        if isinstance(addition, Object):
            self._adopt(objects, addition)
            return
        holder = objects.get(parent_path(path))
        if holder is None:
            self.fail(f"nothing holds {path}")
        if isinstance(addition, str):
            if path not in objects:
                self.fail(f"the device has no such table: {path}")
            objects[path].counters.append(addition)
            addition = Parameter(addition, "unsignedInt", "", False, "0")
        if addition.name in holder.parameters:
            self.fail(f"{path} is there already")
        holder.parameters[addition.name] = addition

    def _too_new_or_old(self, row):
        model, _, version = row["since_version"].rpartition(":")
        limit = self.since.get(model)
        return bool(row["status"]) or (
            limit is not None and version_key(version) > limit
        )

    def _takes_object(self, path, row):
        if any(path.startswith(left) for left in self.without):
            return False
        if path in self.taken:
            return True
        if not any(path.startswith(tree) for tree in self.trees):
            return False
        holders = [path]
        while holders[-1] not in self.trees:
            holders.append(parent_path(holders[-1]))
        return not any(self._too_new_or_old(self.facts[held]) for held in holders)

    def _takes_parameter(self, path, row, holder):
        if path in self.extra:
            return True
        if path in self.without or self._too_new_or_old(row):
            return False
        name = path.rpartition(".")[2]
        counted = [
            table
            for table, other in self.facts.items()
            if other["count_parameter"] == name and parent_path(table) == holder.path
        ]
        present = {child.path for child in holder.children}
        return not counted or any(table in present for table in counted)


def version_key(text):
    return tuple(int(part) for part in text.split("."))


# --- the document ------------------------------------------------------------


def matches(pattern, path, template_too):
    """Whether a profile path covers a path of the tree.

    A number covers itself. "{i}" covers every numbered instance and, where the
    template takes part, the template.
    """
    parts = path.split(".")
    return len(parts) == len(pattern) and all(
        wanted == part or (wanted == "{i}" and (template_too or part != "0"))
        for wanted, part in zip(pattern, parts)
    )


def escaped(text):
    """Values are stored escaped for XML, and quoted once more in the file."""
    for plain, entity in (
        ("&", "&amp;"),
        ("<", "&lt;"),
        (">", "&gt;"),
        ('"', "&quot;"),
        ("'", "&apos;"),
    ):
        text = text.replace(plain, entity)
    return text.replace("\\", "\\\\").replace('"', '\\"')


class Document:
    def __init__(self, profile):
        self.profile = profile
        self.lines = []

    def render(self):
        name = Path(self.profile.source).name
        self._line(0, '<?xml version="1.0" encoding="UTF-8"?>')
        self._line(0, f"<!-- Factory defaults, rendered from {name}. -->")
        self._line(0, "<DATAMODEL>")
        self._object(self.profile.objects[""], ROOT, "", 1, False)
        self._line(0, "</DATAMODEL>")
        self._check_all_used()
        return "\n".join(self.lines) + "\n"

    def _line(self, depth, text):
        self.lines.append("  " * depth + text)

    def _last(self, verb, path):
        """The text of the last line of that kind that covers the parameter."""
        found = None
        for line in self.profile.assignments[verb].get(model_form(path), ()):
            if matches(line.pattern, path, template_too=True):
                line.used = True
                found = line.text
        return found

    def _numbers(self, table, path):
        if "0." in re.findall(r"(?:^|(?<=\.))\d+\.", path):
            return []
        found = []
        for owner, line in self.profile.instances:
            if owner == table.path and matches(line.pattern, path, template_too=False):
                line.used = True
                found = line.text
        return found

    def _open(self, depth, name, writable):
        flag = "1" if writable else "0"
        self._line(depth, f'<OBJECT name="{name}" type="object" writable="{flag}">')

    def _object(self, model, name, path, depth, writable):
        """One object element; `path` is the object's own, below the root."""
        self._open(depth, name, writable)
        counts = {
            counter: str(len(self._numbers(child, path + child.name)))
            for child in model.children
            for counter in child.counters
        }
        for parameter in model.parameters.values():
            self._parameter(parameter, path + parameter.name, depth + 1, counts)
        for child in model.children:
            below = path + child.name
            if child.is_table:
                self._table(child, below, depth + 1)
            else:
                self._object(child, child.name, below, depth + 1, child.writable)
        self._line(depth, "</OBJECT>")

    def _table(self, model, path, depth):
        """A table element. New rows are copied from the chain of templates
        that starts at the top, so rows carry no templates of their own."""
        self._open(depth, model.name, model.writable)
        numbers = self._numbers(model, path)
        if not re.search(r"(^|\.)[1-9]\d*\.", path):
            numbers = [0, *numbers]
        for number in numbers:
            self._object(model, f"{number}.", f"{path}{number}.", depth + 1, True)
        self._line(depth, "</OBJECT>")

    def _parameter(self, parameter, path, depth, counts):
        value = self._last("set", path)
        if value is None:
            value = parameter.default
        if parameter.name in counts:
            value = counts[parameter.name]
        attributes = {
            "name": parameter.name,
            "type": parameter.type,
            "value": escaped(value),
            "writable": "1" if parameter.writable else "0",
            "notification": self._last("notify", path),
            "enumeration": escaped(parameter.enumeration) or None,
            "function": self._last("live", path),
        }
        text = " ".join(
            f'{key}="{text}"' for key, text in attributes.items() if text is not None
        )
        self._line(depth, f"<PARAMETER {text}/>")

    def _check_all_used(self):
        groups = self.profile.assignments.values()
        lines = [line for group in groups for some in group.values() for line in some]
        lines += [line for _, line in self.profile.instances]
        for line in sorted(lines, key=lambda line: line.number):
            if not line.used:
                self.profile.fail(
                    "the device has no such place: " + ".".join(line.pattern),
                    line.number,
                )


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("profile", help="the device profile")
    parser.add_argument(
        "--facts",
        default=Path(__file__).with_name("tr098_facts.csv"),
        help="the facts of the data model (default: beside this script)",
    )
    parser.add_argument("--output", help="the file to write (default: standard output)")
    arguments = parser.parse_args()
    try:
        profile = Profile(load_facts(arguments.facts), arguments.profile)
        text = Document(profile).render()
    except ProfileError as error:
        sys.exit(str(error))
    if arguments.output:
        Path(arguments.output).write_text(text, encoding="utf-8", newline="\n")
    else:
        sys.stdout.write(text)


if __name__ == "__main__":
    main()
