"""The committed factory defaults of the models: rendered faithfully, loadable, consistent.

The document is read here by a tokenizer and a tree builder of this file's own,
written from the format's rules, so that an error of the renderer cannot hide
behind the same error in its check.
"""

import base64
import csv
import os
import re
import subprocess
import tempfile
import unittest
from dataclasses import dataclass, field
from pathlib import Path

MODELS = Path(__file__).resolve().parents[2] / "models"
GWCTL = os.environ["GWCONF_GWCTL"]
FACTS = MODELS / "tr098_facts.csv"

ROOT = "InternetGatewayDevice."

GETTERS = """
GetELANStats GetSN GetFWVersion GetHWVersion GetManufacturer GetManufacturerUrl
GetManufacturerOUI GetProductClass GetModelName GetModelNumber GetModelUrl
GetDeviceName GetSysUpTime GetSystemLog GetCWMPLog get_ntp_time GetEthMacAddr
GetELANStatus GetELANPacketsSent GetELANPacketsReceived GetELANErrorsReceived
GetELANDiscardPacketsSent GetELANDiscardPacketsReceived
COM_GetWANPhysicalLinkStatus COM_GetWANTotalBytesSent
COM_GetWANTotalBytesReceived COM_GetWANTotalPacketsSent
COM_GetWANTotalPacketsReceived GetWANBytesSent GetWANBytesReceived
GetWANPacketsSent GetWANPacketsReceived GetWANEthernetErrorsSent
GetWANEthernetErrorsReceived GetWANEthernetUnicastPacketsSent
GetWANEthernetUnicastPacketsReceived GetWANEthernetBroadcastPacketsSent
GetWANEthernetBroadcastPacketsReceived GetWANEthernetMulticastPacketsSent
GetWANEthernetMulticastPacketsReceived GetWLANErrorsSent GetWLANErrorsReceived
GetWLANUnicastPacketsSent GetWLANUnicastPacketsReceived
GetWLANDiscardPacketsSent GetWLANDiscardPacketsReceived
GetWLANMulticastPacketsSent GetWLANMulticastPacketsReceived
GetWLANBroadcastPacketsSent GetWLANBroadcastPacketsReceived GetWLANChannel
GetDescription GetWANConnectionStatus GetWANUpTime GetWANIPExternalIPAddress
GetWANIPSubnetMask GetWANDefaultGateway GetWANDNSServers GetWANMACAddress
GetPPPExternalIPAddress GetPPPRemoteIPAddress GetPPPCurrentMRUSize
GetWANPPPReset GetWANPPPoESessionID GetVoiceLineStatus GetVoiceLineCallState
GetIPPingDiagSuccessCount GetIPPingDiagFailureCount
GetIPPingDiagAvgResponseTime GetIPPingDiagMinResponseTime
GetIPPingDiagMaxResponseTime GetTotalRAM GetFreeRAM GetCPUUtilization
GetWANLeaseTime
""".split()


# --- reading -----------------------------------------------------------------


class FormatError(Exception):
    pass


@dataclass
class Tag:
    name: str
    attributes: dict
    starts: bool
    ends: bool


NAME = re.compile(r"[A-Za-z0-9._-]+")
BLANK = re.compile(r"[ \t\r\n]*")
VALUE = re.compile(r'"((?:\\.|[^"\\])*)"', re.DOTALL)


def read_attributes(text, at, closers):
    """Attributes up to one of the closers: them, the closer, the end."""
    attributes = {}
    begin = at
    while True:
        at = BLANK.match(text, at).end()
        for closer in closers:
            if text.startswith(closer, at):
                if at - begin >= 2047:
                    raise FormatError(f"attribute list of {at - begin} characters")
                return attributes, closer, at + len(closer)
        name = NAME.match(text, at)
        if not name:
            raise FormatError(f"no attribute name at {at}")
        at = BLANK.match(text, name.end()).end()
        if text[at : at + 1] != "=":
            raise FormatError(f"no equals sign at {at}")
        value = VALUE.match(text, BLANK.match(text, at + 1).end())
        if not value:
            raise FormatError(f"no quoted value at {at}")
        if name[0] in attributes:
            raise FormatError(f"{name[0]} twice")
        attributes[name[0]] = re.sub(r"\\(.)", r"\1", value[1], flags=re.DOTALL)
        if len(attributes) > 20:
            raise FormatError("more than 20 attributes")
        at = value.end()


def read_tags(text):
    at = 0
    while True:
        at = BLANK.match(text, at).end()
        if at == len(text):
            return
        if text.startswith("<!--", at):
            end = text.find("-->", at)
            if end < 0:
                raise FormatError("open comment")
            at = end + 3
            continue
        opener = next((o for o in ("<?", "</", "<") if text.startswith(o, at)), None)
        name = opener and NAME.match(text, at + len(opener))
        if not name:
            raise FormatError(f"no markup at {at}")
        closers = {"<?": ["?>"], "</": [">"], "<": ["/>", ">"]}[opener]
        attributes, closer, at = read_attributes(text, name.end(), closers)
        if opener == "</" and attributes:
            raise FormatError("attributes on an end tag")
        if opener != "<?":
            yield Tag(name[0], attributes, opener == "<", opener == "</" or closer == "/>")


@dataclass
class Parameter:
    path: str
    attributes: dict

    @property
    def name(self):
        return self.attributes["name"]


@dataclass
class Node:
    path: str
    attributes: dict
    parameters: list = field(default_factory=list)
    children: list = field(default_factory=list)

    @property
    def name(self):
        return self.attributes["name"]

    @property
    def is_instance(self):
        return re.fullmatch(r"\d+\.", self.name) is not None

    @property
    def is_table(self):
        return any(child.is_instance for child in self.children)

    @property
    def instances(self):
        return [child for child in self.children if child.name != "0."]

    def below(self):
        for child in self.children:
            yield child
            yield from child.below()

    def child(self, name):
        return next((child for child in self.children if child.name == name), None)


def read_tree(text):
    """The one object of the document, with all of its own."""
    root = None
    open_nodes = []
    for tag in read_tags(text):
        if tag.name == "DATAMODEL":
            continue
        if tag.name == "OBJECT":
            if tag.starts:
                holder = open_nodes[-1] if open_nodes else None
                path = (holder.path if holder else "") + tag.attributes["name"]
                node = Node(path, tag.attributes)
                if holder:
                    holder.children.append(node)
                elif root:
                    raise FormatError("a second top-level object")
                root = root or node
                open_nodes.append(node)
            if tag.ends:
                if not open_nodes:
                    raise FormatError("an object is closed that is not open")
                open_nodes.pop()
        elif tag.name == "PARAMETER":
            if not open_nodes or not (tag.starts and tag.ends):
                raise FormatError("a parameter outside an object, or left open")
            holder = open_nodes[-1]
            if holder.children:
                raise FormatError(f"parameter behind a child object: {holder.path}")
            path = holder.path + tag.attributes["name"]
            holder.parameters.append(Parameter(path, tag.attributes))
        else:
            raise FormatError(f"tag {tag.name}")
    if not root or open_nodes:
        raise FormatError("no object, or one left open")
    return root


# --- the device's rules ------------------------------------------------------


def model_form(path):
    return re.sub(r"(?<=\.)\d+\.", "{i}.", path)


def template_form(path):
    return re.sub(r"(?<=\.)\d+\.", "0.", path)


def counter_of(table, holder):
    """The counter the daemon finds for a table, as it looks for it."""
    name = table.name[:-1]
    candidates = [name]
    if len(name) >= 7:
        candidates.append(name[:-6])
    if len(name) >= 4:
        candidates.append(name[:-3])
    candidates.append("LAN" + name)
    wanted = {candidate + "NumberOfEntries" for candidate in candidates}
    return next((p for p in holder.parameters if p.name in wanted), None)


def limits_of(type_text):
    """Type name, lower and upper limit; an upper limit of 0 is none."""
    found = re.fullmatch(
        r"([A-Za-z0-9]+)(?:\[(-?\d+):(-?\d*)\]|\((\d+)\))?", type_text
    )
    if not found:
        return None
    name, low, high, length = found.groups()
    return name, int(low or 0), int(high or length or 0)


def unescaped(text):
    for plain, entity in (
        ("<", "&lt;"),
        (">", "&gt;"),
        ('"', "&quot;"),
        ("'", "&apos;"),
        ("&", "&amp;"),
    ):
        text = text.replace(entity, plain)
    return text


def is_address(text):
    parts = text.split(".")
    return len(parts) == 4 and all(
        re.fullmatch(r"0|[1-9]\d{0,2}", part) and int(part) < 256 for part in parts
    )


def is_netmask(text):
    if not is_address(text):
        return False
    bits = "".join(f"{int(part):08b}" for part in text.split("."))
    return "01" not in bits


def is_base64(text):
    try:
        base64.b64decode(text, validate=True)
    except ValueError:
        return False
    return True


MAC = re.compile(r"([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}")
TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:\d\d)?")


def fault_of(attributes):
    """What is wrong with a parameter's value, or None."""
    value = unescaped(attributes["value"])
    limits = limits_of(attributes["type"])
    if limits is None:
        return "type text"
    name, low, high = limits
    if max(abs(low), abs(high)) > 2**31 - 1:
        return "limit beyond 32 bits"
    enumeration = attributes.get("enumeration")
    if enumeration is not None:
        if attributes["type"] != "string":
            return "enumeration beside a type that a save would lose"
        allowed = unescaped(enumeration).split(",")
        if len(set(allowed)) != len(allowed):
            return "enumeration with a double"
        return None if value in allowed else "not in the enumeration"
    if name in ("int", "unsignedInt"):
        if not re.fullmatch(r"0|-?[1-9]\d*", value):
            return "not a number"
        if name == "unsignedInt" and (int(value) < 0 or low < 0):
            return "negative"
        if int(value) < low and (low or high) or high and int(value) > high:
            return "out of range"
        if not -(2**31) <= int(value) < 2**32:
            return "beyond 32 bits"
        return None
    if name in ("string", "base64"):
        if high and len(attributes["value"]) > high:
            return "too long"
        return None if name == "string" or is_base64(value) else "not base64"
    checks = {
        "boolean": lambda: value in ("0", "1"),
        "dateTime": lambda: TIME.fullmatch(value),
        "ipAddress": lambda: not value or is_address(value),
        "netmask": lambda: not value or is_netmask(value),
        "macAddress": lambda: not value or MAC.fullmatch(value),
    }
    if name != attributes["type"] or name not in checks:
        return "type text"
    return None if checks[name]() else f"no {name}"


# --- the tests ---------------------------------------------------------------


def render(profile, facts=FACTS):
    """What gwctl renders: the finished process."""
    kept = {k: v for k, v in os.environ.items() if not k.startswith("GWCONF_")}
    return subprocess.run(
        [GWCTL, "model", str(profile), "--facts", str(facts)],
        capture_output=True,
        env=kept,
        timeout=60,
    )


class Model:
    """What holds for every model. The least numbers keep a check from passing over nothing."""

    name = None
    least = {}

    @classmethod
    def setUpClass(cls):
        cls.committed = MODELS / (cls.name + ".xml")
        cls.text = cls.committed.read_text(encoding="utf-8")
        cls.root = read_tree(cls.text)
        cls.nodes = [cls.root, *cls.root.below()]
        cls.by_path = {node.path: node for node in cls.nodes}
        cls.parameters = [p for node in cls.nodes for p in node.parameters]
        with open(FACTS, newline="", encoding="utf-8") as source:
            cls.facts = {row["path"]: row for row in csv.DictReader(source)}

    def tables(self):
        """Every table node with the node that holds it, empty ones included."""
        templated = {
            node.path for node in self.nodes if node.child("0.") is not None
        }
        for holder in self.nodes:
            for node in holder.children:
                if node.is_table or template_form(node.path) in templated:
                    yield holder, node

    def test_the_committed_file_is_what_the_profile_renders(self):
        done = render(MODELS / (self.name + ".profile"))
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(done.stdout, self.committed.read_bytes())

    def test_size(self):
        self.assertGreaterEqual(len(self.parameters), self.least["parameters"])
        self.assertLess(self.committed.stat().st_size, 900_000)
        self.assertEqual(self.root.path, ROOT)

    def test_layout(self):
        lines = self.text.split("\n")
        self.assertEqual(lines[0], '<?xml version="1.0" encoding="UTF-8"?>')
        self.assertTrue(lines[1].startswith("<!-- "))
        self.assertEqual((lines[2], lines[-2], lines[-1]), ("<DATAMODEL>", "</DATAMODEL>", ""))
        depth = 1
        for line in lines[3:-2]:
            depth -= line.lstrip().startswith("</OBJECT>")
            self.assertRegex(line, "^ {%d}<" % (2 * depth))
            depth += line.lstrip().startswith("<OBJECT ")

    def test_attribute_vocabulary_and_order(self):
        for node in self.nodes:
            order = ["name", "type", "writable", "notification"]
            self.assertEqual(
                list(node.attributes), [key for key in order if key in node.attributes]
            )
            self.assertEqual(node.attributes["type"], "object")
            self.assertRegex(node.name, r"^[A-Za-z0-9_]+\.$")
        for parameter in self.parameters:
            order = "name type value writable notification enumeration function".split()
            keys = list(parameter.attributes)
            self.assertEqual(keys, [key for key in order if key in keys])
            self.assertLess({"name", "type", "value"}, set(keys))
            self.assertRegex(parameter.name, r"^[A-Za-z][A-Za-z0-9_]*$")
            self.assertIn(parameter.attributes.get("notification"), (None, "1", "2"))
        for record in self.nodes + self.parameters:
            self.assertIn(record.attributes["writable"], ("0", "1"))

    def test_names_are_unique_and_reachable(self):
        for node in self.nodes:
            for records in (node.parameters, node.children):
                names = [record.name for record in records]
                self.assertEqual(len(names), len(set(names)), node.path)
            # A path segment that repeats its own node names that node again.
            self.assertIsNone(node.child(node.name), node.path)
            # The daemon takes any other name that holds "0." for a template.
            if not node.is_instance:
                self.assertNotRegex(node.name, r"^\d|0\.")

    def test_tables_hold_instances_only_in_ascending_order(self):
        for _, table in self.tables():
            numbers = [int(child.name[:-1]) for child in table.children]
            self.assertEqual(numbers, sorted(numbers), table.path)
            for child in table.children:
                self.assertTrue(child.is_instance, child.path)
                self.assertEqual(child.attributes["writable"], "1", child.path)

    def test_every_table_has_its_template_in_the_top_level_chain(self):
        tables = list(self.tables())
        self.assertGreater(len(tables), self.least["tables"])
        for _, table in tables:
            self.assertIn(template_form(table.path) + "0.", self.by_path)
        for node in self.nodes:
            if re.search(r"\.[1-9]\d*\.", node.path):
                self.assertNotIn(".0.", node.path)

    def test_templates_hold_no_instances(self):
        for node in self.nodes:
            if ".0." in node.path:
                self.assertNotRegex(node.path, r"\.[1-9]\d*\.")

    def test_instances_are_built_like_their_template(self):
        def shape(parameter):
            return {k: v for k, v in parameter.attributes.items() if k != "value"}

        compared = 0
        for node in self.nodes:
            if not re.search(r"\.[1-9]\d*\.", node.path):
                continue
            template = self.by_path[template_form(node.path)]
            self.assertEqual(
                [shape(p) for p in node.parameters],
                [shape(p) for p in template.parameters],
                node.path,
            )
            if node.path not in [table.path for _, table in self.tables()]:
                self.assertEqual(
                    [child.attributes for child in node.children],
                    [child.attributes for child in template.children],
                    node.path,
                )
                compared += 1
        self.assertGreater(compared, self.least["rows"])

    def test_every_table_finds_its_own_counter(self):
        found = {}
        for holder, table in self.tables():
            counter = counter_of(table, holder)
            self.assertIsNotNone(counter, table.path)
            self.assertNotIn(counter.path, found, table.path)
            found[counter.path] = table
            self.assertEqual(
                counter.attributes["value"], str(len(table.instances)), table.path
            )
            self.assertEqual(counter.attributes["type"], "unsignedInt")
        for parameter in self.parameters:
            if parameter.name.endswith("NumberOfEntries") and parameter.path not in found:
                self.assertEqual(parameter.attributes["value"], "0", parameter.path)

    def test_the_standard_s_own_counters_agree(self):
        checked = 0
        for holder, table in self.tables():
            fact = self.facts.get(model_form(table.path) + "{i}.")
            if not fact or not fact["count_parameter"]:
                continue
            counter = next(
                p for p in holder.parameters if p.name == fact["count_parameter"]
            )
            self.assertEqual(counter.attributes["value"], str(len(table.instances)))
            checked += 1
        self.assertGreater(checked, self.least["counters"])

    def test_values_fit_their_types(self):
        for parameter in self.parameters:
            self.assertIsNone(fault_of(parameter.attributes), parameter)

    def test_values_are_stored_escaped(self):
        for parameter in self.parameters:
            value = parameter.attributes["value"]
            self.assertNotRegex(value, "[<>\"'\\x00-\\x1f]", parameter.path)
            rest = re.sub(r"&(amp|lt|gt|quot|apos);", "", value)
            self.assertNotIn("&", rest, parameter.path)

    def test_no_secret_is_shipped(self):
        secret = re.compile(r"Password$|Passphrase$|PreSharedKey$|WEPKey$")
        found = [p for p in self.parameters if secret.search(p.name)]
        self.assertGreater(len(found), self.least["secrets"])
        for parameter in found:
            # The push-button PIN is a number: 0 is none.
            empty = "0" if parameter.attributes["type"] == "unsignedInt" else ""
            if parameter.attributes["type"] != "boolean":
                self.assertEqual(parameter.attributes["value"], empty, parameter.path)

    def test_deleted_default_rows_can_be_noted(self):
        table = self.by_path[ROOT + "X_VT_MiscCfg.DeletedDefaultInstances."]
        self.assertEqual([child.name for child in table.children], ["0."])
        first = table.children[0].parameters[0].attributes
        self.assertEqual((first["name"], first["type"]), ("URI", "string(32768)"))
        self.assertEqual(
            self.value("X_VT_MiscCfg.DeletedDefaultInstancesNumberOfEntries"), "0"
        )

    def test_the_facts_are_carried_over(self):
        ours = set()
        for record in self.nodes + self.parameters:
            path = model_form(record.path)
            name = record.name
            if isinstance(record, Node) and path + "{i}." in self.facts:
                path += "{i}."
            elif isinstance(record, Node) and record.is_instance:
                continue
            fact = self.facts.get(path)
            if fact is None:
                ours.add(name)
                self.assertTrue(
                    "X_VT_" in record.path or name.endswith("NumberOfEntries"),
                    record.path,
                )
                continue
            self.assertEqual(
                record.attributes["writable"],
                "1" if fact["access"] == "readWrite" else "0",
                record.path,
            )
            if isinstance(record, Parameter) and not fact["list"]:
                self.assertEqual(
                    unescaped(record.attributes.get("enumeration", "")),
                    fact["enumeration"],
                    record.path,
                )
        self.assertIn("X_VT_MiscCfg.", ours)

    def test_only_known_getters_are_bound(self):
        used = {p.attributes.get("function") for p in self.parameters} - {None}
        self.assertGreaterEqual(len(used), self.least["getters"])
        self.assertLessEqual(used, set(GETTERS))

    def parameter(self, path):
        holder = self.by_path[ROOT + path.rpartition(".")[0] + "."]
        return next(p for p in holder.parameters if p.path == ROOT + path)

    def value(self, path):
        return self.parameter(path).attributes["value"]


class HomeGatewayTest(Model, unittest.TestCase):
    name = "home-gateway"
    least = {
        "parameters": 900,
        "tables": 30,
        "rows": 50,
        "counters": 25,
        "secrets": 30,
        "getters": 75,
    }

    def test_all_getters_are_bound_and_no_other(self):
        self.assertEqual(len(GETTERS), 75)
        used = {p.attributes.get("function") for p in self.parameters} - {None}
        self.assertEqual(used, set(GETTERS))

    def test_added_rows_are_live_too(self):
        for path, getter in (
            ("LANDevice.0.LANEthernetInterfaceConfig.0.Status", "GetELANStatus"),
            ("LANDevice.1.LANEthernetInterfaceConfig.4.Status", "GetELANStatus"),
            ("LANDevice.0.WLANConfiguration.0.Channel", "GetWLANChannel"),
            (
                "WANDevice.0.WANConnectionDevice.0.WANPPPConnection.0.Uptime",
                "GetWANUpTime",
            ),
            (
                "Services.VoiceService.0.VoiceProfile.0.Line.0.Status",
                "GetVoiceLineStatus",
            ),
        ):
            self.assertEqual(self.parameter(path).attributes.get("function"), getter)

    def test_notification(self):
        for path, expected in (
            ("DeviceInfo.SoftwareVersion", "2"),
            ("DeviceInfo.ProvisioningCode", "2"),
            ("DeviceInfo.HardwareVersion", "1"),
            ("ManagementServer.ConnectionRequestURL", "2"),
            (
                "WANDevice.1.WANConnectionDevice.1.WANIPConnection.1.ExternalIPAddress",
                "2",
            ),
            (
                "WANDevice.0.WANConnectionDevice.0.WANPPPConnection.0.ExternalIPAddress",
                "2",
            ),
            ("DeviceInfo.UpTime", None),
        ):
            actual = self.parameter(path).attributes.get("notification")
            self.assertEqual(actual, expected, path)

    def test_types_by_example(self):
        ip = "WANDevice.1.WANConnectionDevice.1.WANIPConnection.1."
        host = "LANDevice.1.LANHostConfigManagement."
        wlan = "LANDevice.1.WLANConfiguration.2."
        for path, expected in (
            ("DeviceInfo.UpTime", "unsignedInt"),
            ("DeviceInfo.DeviceLog", "string(32768)"),
            ("IPPingDiagnostics.DataBlockSize", "unsignedInt[1:65535]"),
            ("IPPingDiagnostics.DSCP", "unsignedInt[0:63]"),
            ("IPPingDiagnostics.DiagnosticsState", "string"),
            (host + "DHCPLeaseTime", "int[-1:]"),
            (host + "SubnetMask", "netmask"),
            (host + "MinAddress", "ipAddress"),
            (host + "DNSServers", "string(64)"),
            (host + "MACAddress", "macAddress"),
            (ip + "ExternalIPAddress", "ipAddress"),
            (ip + "DNSServers", "string(64)"),
            (wlan + "Channel", "unsignedInt[0:255]"),
            (wlan + "PreSharedKey.10.KeyPassphrase", "string(63)"),
            (wlan + "APWMMParameter.4.AckPolicy", "boolean"),
            ("UserInterface.ISPLogo", "base64(4095)"),
            ("Time.CurrentLocalTime", "dateTime"),
            ("QueueManagement.Classification.0.SourceMACMask", "macAddress"),
        ):
            self.assertEqual(self.parameter(path).attributes["type"], expected, path)

    def test_the_promised_objects_are_there(self):
        line = "Services.VoiceService.1.VoiceProfile.1.Line.2."
        for path in (
            "DeviceConfig.",
            "Layer3Forwarding.Forwarding.0.",
            "LANConfigSecurity.",
            "LANDevice.1.LANHostConfigManagement.DHCPStaticAddress.",
            "LANDevice.1.Hosts.Host.",
            "LANDevice.1.LANEthernetInterfaceConfig.4.Stats.",
            "LANDevice.1.WLANConfiguration.2.WEPKey.4.",
            "LANDevice.1.WLANConfiguration.2.WPS.",
            "LANDevice.1.WLANConfiguration.2.Stats.",
            "LANDevice.0.WLANConfiguration.0.AssociatedDevice.0.",
            "WANDevice.1.WANEthernetInterfaceConfig.Stats.",
            "WANDevice.1.WANConnectionDevice.1.WANIPConnection.1.PortMapping.",
            "WANDevice.0.WANConnectionDevice.0.WANPPPConnection.0.PortMapping.0.",
            "QueueManagement.Queue.4.",
            line + "Codec.List.4.",
            line + "SIP.",
            line + "Stats.",
            line + "VoiceProcessing.",
        ):
            self.assertIn(ROOT + path, self.by_path)

    def test_what_the_profile_sets_is_escaped(self):
        self.assertEqual(
            self.value("UserInterface.ISPHelpPage"),
            "https://support.example.net/gateway?lang=en&amp;topic=start",
        )


class TwoPortTest(Model, unittest.TestCase):
    name = "two-port"
    least = {
        "parameters": 300,
        "tables": 12,
        "rows": 8,
        "counters": 10,
        "secrets": 1,
        "getters": 30,
    }

    def test_there_are_two_ports_and_nothing_else(self):
        for path in (
            "LANDevice.1.LANEthernetInterfaceConfig.1.Stats.",
            "LANDevice.0.LANEthernetInterfaceConfig.0.Stats.",
            "WANDevice.1.WANEthernetInterfaceConfig.Stats.",
            "WANDevice.1.WANConnectionDevice.1.WANIPConnection.1.PortMapping.",
        ):
            self.assertIn(ROOT + path, self.by_path)
        for path in (
            "LANDevice.1.LANEthernetInterfaceConfig.2.",
            "LANDevice.1.WLANConfiguration.",
            "WANDevice.1.WANConnectionDevice.1.WANPPPConnection.",
            "Services.",
        ):
            self.assertNotIn(ROOT + path, self.by_path)
        self.assertEqual(self.value("LANDevice.1.LANEthernetInterfaceNumberOfEntries"), "1")
        self.assertEqual(self.value("LANDevice.1.LANWLANConfigurationNumberOfEntries"), "0")

    def test_what_is_measured(self):
        for path, getter in (
            ("DeviceInfo.UpTime", "GetSysUpTime"),
            ("LANDevice.0.LANEthernetInterfaceConfig.0.Status", "GetELANStatus"),
            (
                "WANDevice.0.WANConnectionDevice.0.WANIPConnection.0.Uptime",
                "GetWANUpTime",
            ),
        ):
            self.assertEqual(self.parameter(path).attributes.get("function"), getter)


class ReadingTest(unittest.TestCase):
    """The checks above are worth what this file's reader refuses."""

    def test_a_document_that_breaks_a_rule_is_refused(self):
        twenty = "".join(f' a{n}="1"' for n in range(20))
        for text in (
            '<OBJECT name="A."></OBJECT><OBJECT name="B."></OBJECT>',
            '<OBJECT name="A.">',
            '<OBJECT name="A."></OBJECT></OBJECT>',
            '<OBJECT name="A.">text</OBJECT>',
            "<OBJECT name='A.'></OBJECT>",
            '<OBJECT name="A."><OBJECT name="B."/><PARAMETER name="p"/></OBJECT>',
            '<OBJECT name="A."><PARAMETER name="p"></OBJECT>',
            '<PARAMETER name="p"/>',
            '<OBJECT name="A." name="B."/>',
            f'<OBJECT name="A."{twenty}/>',
            '<OBJECT name="' + "A" * 2047 + '"/>',
            '<OBJECT name="A."/><!-- open',
            '<ITEM name="A."/>',
        ):
            with self.subTest(text=text[:60]), self.assertRaises(FormatError):
                read_tree(text)

    def test_quoting_is_undone(self):
        tree = read_tree('<OBJECT name="A."><PARAMETER name="p" value="\\"\\\\x"/></OBJECT>')
        self.assertEqual(tree.parameters[0].attributes["value"], '"\\x')

    def test_faults_are_found(self):
        for kind, value, fault in (
            ("unsignedInt[1:5]", "0", "out of range"),
            ("unsignedInt[1:5]", "6", "out of range"),
            ("unsignedInt", "-1", "negative"),
            ("unsignedInt", "", "not a number"),
            ("unsignedInt[0:4294967295]", "0", "limit beyond 32 bits"),
            ("int[-1:]", "-2", "out of range"),
            ("string(3)", "abcd", "too long"),
            ("boolean", "true", "no boolean"),
            ("netmask", "255.0.255.0", "no netmask"),
            ("ipAddress", "192.168.1.256", "no ipAddress"),
            ("macAddress", "02:00:00:00:00", "no macAddress"),
            ("dateTime", "", "no dateTime"),
            ("base64", "a", "not base64"),
            ("hexBinary", "00", "type text"),
            ("int[-1:]", "2147483648", None),
            ("netmask", "255.255.254.0", None),
        ):
            with self.subTest(type=kind, value=value):
                self.assertEqual(fault_of({"type": kind, "value": value}), fault)
        self.assertEqual(
            fault_of({"type": "string", "value": "c", "enumeration": "a,b"}),
            "not in the enumeration",
        )


class RenderTest(unittest.TestCase):
    """A profile of a few lines over facts of a few rows."""

    COLUMNS = (
        "path kind type min max max_length enumeration access default"
        " since_version list status count_parameter"
    ).split()
    ROWS = (
        (ROOT, "object", "", "", "", "", "", "readOnly", "", "1.0", "", "", ""),
        (ROOT + "ANumberOfEntries", "parameter", "unsignedInt", "", "", "", "",
         "readOnly", "", "1.0", "", "", ""),
        (ROOT + "A.{i}.", "table", "", "", "", "", "", "readWrite", "", "1.0", "",
         "", "ANumberOfEntries"),
        (ROOT + "A.{i}.Text", "parameter", "string", "", "", "16", "", "readWrite",
         "", "1.0", "", "", ""),
        (ROOT + "A.{i}.Big", "parameter", "unsignedInt", "2", "4294967295", "", "",
         "readOnly", "", "1.0", "", "", ""),
        (ROOT + "A.{i}.New", "parameter", "boolean", "", "", "", "", "readOnly",
         "true", "1.2", "", "", ""),
        (ROOT + "A.{i}.Old", "parameter", "hexBinary", "", "", "4", "", "readOnly",
         "", "1.0", "", "obsoleted", ""),
        (ROOT + "E.", "object", "", "", "", "", "", "readOnly", "", "1.0", "", "", ""),
        (ROOT + "E.X", "parameter", "int", "", "", "", "", "readOnly", "", "1.0",
         "", "", ""),
        (ROOT + "E.F.", "object", "", "", "", "", "", "readOnly", "", "1.0", "",
         "", ""),
    )  # fmt: skip

    def render(self, profile):
        with tempfile.TemporaryDirectory() as folder:
            facts = Path(folder, "facts.csv")
            with open(facts, "w", newline="", encoding="utf-8") as out:
                csv.writer(out).writerows([self.COLUMNS, *self.ROWS])
            source = Path(folder, "small.profile")
            source.write_text(profile, encoding="utf-8")
            return render(source, facts)

    def test_a_small_device(self):
        done = self.render(
            "since 1.1\n"
            "object A.{i}.\n"
            "[A.{i}.]\n"
            "with Old\n"
            'set Text all & "any"\n'
            "live Big GetBig\n"
            "notify Big passive\n"
            "[]\n"
            "instances A. 2\n"
            "set A.2.Text back\\slash\n"
        )
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(
            done.stdout.decode(),
            """<?xml version="1.0" encoding="UTF-8"?>
<!-- Factory defaults, rendered from small.profile. -->
<DATAMODEL>
  <OBJECT name="InternetGatewayDevice." type="object" writable="0">
    <PARAMETER name="ANumberOfEntries" type="unsignedInt" value="1" writable="0"/>
    <OBJECT name="A." type="object" writable="1">
      <OBJECT name="0." type="object" writable="1">
        <PARAMETER name="Text" type="string(16)" value="all &amp; &quot;any&quot;" writable="1"/>
        <PARAMETER name="Big" type="unsignedInt[2:]" value="2" writable="0" notification="1" function="GetBig"/>
        <PARAMETER name="Old" type="string(8)" value="" writable="0"/>
      </OBJECT>
      <OBJECT name="2." type="object" writable="1">
        <PARAMETER name="Text" type="string(16)" value="back\\\\slash" writable="1"/>
        <PARAMETER name="Big" type="unsignedInt[2:]" value="2" writable="0" notification="1" function="GetBig"/>
        <PARAMETER name="Old" type="string(8)" value="" writable="0"/>
      </OBJECT>
    </OBJECT>
  </OBJECT>
</DATAMODEL>
""",
        )

    def test_a_table_left_out_takes_its_counter_along(self):
        done = self.render("")
        self.assertEqual(done.returncode, 0)
        self.assertIn(b"<OBJECT", done.stdout)
        self.assertNotIn(b"PARAMETER", done.stdout)

    def test_a_line_that_reaches_nothing_is_an_error(self):
        for line, message in (
            ("object B.", "the facts have no such object: B."),
            ("with A.{i}.None", "the facts have no such parameter: A.{i}.None"),
            ("set A.3.Text x", "the device has no such place: A.3.Text"),
            ("live A.{i}.None GetBig", "the device has no such place: A.{i}.None"),
            ("instances A.1.B. 1", "the device has no such place: A.1.B."),
            ("instances A. 2 1", "instances needs ascending numbers from 1"),
            ("notify A.{i}.Big loud", "notify needs passive or active"),
            ("type A.{i}.None string", "the device has no such parameter: A.{i}.None"),
            ("param A.{i}.Text string ro", "A.{i}.Text is there already"),
            ("counter B.{i}. BNumberOfEntries", "the device has no such table: B.{i}."),
            ("param C.X string ro", "nothing holds C.X"),
            ("vendor C.D. ro", "nothing holds C.D."),
            ("object E.F.", "nothing holds E.F."),
            ("tree E.F.", "nothing holds E.F."),
            ("with E.X", "nothing holds E.X"),
            ("sett A.{i}.Text x", "unknown word sett"),
            ("[A.{i}.", "a section has no closing bracket"),
            ("since now", "since needs a version such as 1.5"),
            ("vendor X. rx", "vendor needs ro or rw"),
            ("param A.{i}.X string", "param needs a type and ro or rw"),
            ("counter A. ANumberOfEntries", "counter needs a table and a name"),
            ("instances A.", "instances needs ascending numbers from 1"),
            ("instances A. 0", "instances needs ascending numbers from 1"),
            ("instances A. 3-1", "instances needs ascending numbers from 1"),
            ("instances A. 1-x", "instances needs ascending numbers from 1"),
            ("instances A. 1-2000000000", "no request can name a row above 99999"),
            ("object", "object needs a path"),
            ("set A.{i}.Text " + "x" * 2048, "a text of that length could not be saved"),
        ):
            with self.subTest(line=line):
                done = self.render("object A.{i}.\n" + line + "\n")
                self.assertEqual(done.returncode, 1)
                self.assertEqual(done.stdout, b"")
                self.assertRegex(
                    done.stderr.decode(),
                    r"^gwctl: model: \S*/small\.profile:2: " + re.escape(message) + "\n$",
                )


if __name__ == "__main__":
    unittest.main()
