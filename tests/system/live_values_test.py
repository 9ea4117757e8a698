"""Every bound parameter of the sample model as gwctl reads it, beside this machine's kernel read in another way.

The daemon reads files of the kernel and asks by ioctl; here links, addresses and routes come from the kernel's routing
socket, and the rest from Python's own interfaces where there are any.
"""

import ctypes
import math
import os
import re
import socket
import struct
import time
import unittest
from datetime import datetime
from pathlib import Path
from platform import freedesktop_os_release
from xml.etree import ElementTree

from gateway import MODEL, LiveTest

ATTEMPTS = 10  # a route, a link or the log may change between two readings

LOG_ROOM = 32768
DEVICE_INFORMATION = """# of this test
manufacturerURL = "http://maker.example/100%%"
model_num=GW-7
modelURL=http://maker.example/gw-7#top
device_name = Kitchen
"""


def bound_parameters():
    """The path and the getter of every parameter that has one, those of templates included."""

    def below(element, path):
        for child in element:
            if child.tag == "OBJECT":
                yield from below(child, path + child.get("name"))
            elif child.get("function"):
                yield path + child.get("name"), child.get("function")

    return list(below(ElementTree.parse(MODEL).getroot(), ""))


# --- The kernel's routing socket ---


def routing_dump(request, family, fixed_size):
    """The fixed part and the attributes, by number, of each answer to a dump."""
    with socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, 0) as kernel:
        root_and_request = 0x301
        kernel.send(struct.pack("=IHHIIB15x", 32, request, root_and_request, 1, 0, family))
        while True:
            messages = kernel.recv(1 << 20)
            while messages:
                length, kind = struct.unpack_from("=IH", messages)
                if kind in (2, 3):  # an error, or the end
                    return
                body, messages = messages[16:length], messages[(length + 3) & ~3 :]
                attributes, rest = {}, body[fixed_size:]
                while len(rest) >= 4:
                    size, number = struct.unpack_from("=HH", rest)
                    attributes.setdefault(number, rest[4:size])
                    rest = rest[(size + 3) & ~3 :]
                yield body[:fixed_size], attributes


def natural_order(name):
    return [int(part) if part.isdigit() else part for part in re.split(r"(\d+)", name)]


class Link:
    """A network interface."""

    PPP, ETHERNET = 512, 1

    def __init__(self, fixed, attributes):
        self.kind, self.index, flags = struct.unpack_from("=HiI", fixed, 2)
        self.name = attributes[3].rstrip(b"\0").decode()
        self.address = ":".join(f"{byte:02x}" for byte in attributes.get(1, b""))
        self.carrier = flags & 1 and attributes.get(33) == b"\1"
        numbers = struct.unpack_from("=9Q", attributes[23])
        names = "rx_packets tx_packets rx_bytes tx_bytes rx_errors tx_errors rx_dropped tx_dropped multicast"
        self.statistics = dict(zip(names.split(), numbers))

    def has(self, *names):
        return any(os.path.exists(f"/sys/class/net/{self.name}/{name}") for name in names)

    @property
    def radio(self):
        return self.has("wireless", "phy80211")

    def signed_counter(self, name):
        return ctypes.c_int32(self.statistics[name]).value


def numbered(links, number):
    """The link of a number counted from 1, or none."""
    return dict(enumerate(links, 1)).get(int(number))


class Machine:
    """What this machine tells of itself at one moment."""

    def __init__(self):
        links = [Link(*answer) for answer in routing_dump(18, socket.AF_UNSPEC, 16)]
        self.links = sorted(links, key=lambda link: natural_order(link.name))
        self.addresses = {}
        for fixed, attributes in routing_dump(22, socket.AF_INET, 8):
            index = struct.unpack_from("=I", fixed, 4)[0]
            self.addresses.setdefault(index, (fixed[1], attributes.get(2), attributes.get(1)))
        self.gateways = {}
        for fixed, attributes in routing_dump(26, socket.AF_INET, 12):
            main_table, unicast = 254, 1
            if fixed[1] == 0 and fixed[4] == main_table and fixed[7] == unicast:
                index = struct.unpack("=I", attributes[4])[0]
                self.gateways.setdefault(index, attributes.get(5))

    def ports(self):
        return [
            link
            for link in self.links
            if link.kind == Link.ETHERNET
            and link.has("device")
            and not link.has("dsa")
            and not link.radio
            and link.index not in self.gateways
        ]

    def first_port(self, _):
        return next(iter(self.ports()), None)

    def port(self, path):
        """The LAN port that a path lies in, or none."""
        return numbered(self.ports(), re.search(r"\.LANEthernetInterfaceConfig\.(\d+)\.", path)[1])

    def wan(self, path):
        """The WAN connection that a path lies in, or none."""
        found = re.search(r"\.WANDevice\.1\.WANConnectionDevice\.(\d+)\.WAN(IP|PPP)Connection\.1\.", path)
        device, kind = found.groups() if found else (1, "IP")
        if not found and ".WANDevice.1.WANEthernetInterfaceConfig." not in path:
            return None
        connections = [
            link for link in self.links if link.index in self.gateways and (link.kind == Link.PPP) == (kind == "PPP")
        ]
        return numbered(connections, device)

    def up_wan(self, path):
        wan = self.wan(path)
        return wan if wan and wan.carrier else None

    def radio(self, path):
        radios = [link for link in self.links if link.radio]
        return numbered(radios, re.search(r"\.WLANConfiguration\.(\d+)\.", path)[1])

    def own_address(self, link):
        return dotted(self.addresses.get(link.index, (0, None, None))[1])

    def network_mask(self, link):
        if link.index not in self.addresses:
            return ""
        length = self.addresses[link.index][0]
        return dotted(struct.pack("!I", 0xFFFFFFFF << (32 - length) & 0xFFFFFFFF))

    def gateway(self, link):
        if link.kind == Link.PPP:
            return dotted(self.addresses.get(link.index, (0, None, None))[2])
        return dotted(self.gateways[link.index])

    def session(self, link):
        """Identifier, far end and carrier of a PPP connection's session where there is only one of each."""
        sessions = text_of("/proc/net/pppoe").splitlines()[1:]
        connections = [other for other in self.links if other.kind == Link.PPP and other.index in self.gateways]
        return sessions[0].split() if connections == [link] and len(sessions) == 1 else None

    def session_identifier(self, link):
        session = self.session(link)
        return str(socket.ntohs(int(session[0], 16))) if session else ""

    def mac_address(self, link):
        session = self.session(link)
        return next(other for other in self.links if other.name == session[2]).address if session else link.address


def dotted(address):
    return socket.inet_ntoa(address) if address else ""


# --- The rest of the machine ---


def bytes_of(path):
    try:
        return Path(path).read_bytes()
    except OSError:
        return b""


def text_of(path):
    return bytes_of(path).decode(errors="surrogateescape")


def device_tree(name):
    return text_of(f"/proc/device-tree/{name}").split("\0")[0]


def firmware_version():
    try:
        release = freedesktop_os_release()
    except OSError:
        return ""
    return release.get("VERSION_ID", release.get("BUILD_ID", ""))


def memory(label):
    return int(re.search(rf"^{label}:\s+(\d+)", text_of("/proc/meminfo"), re.MULTILINE)[1])


def system_log():
    for name in ("/var/log/messages", "/var/log/syslog"):
        if log := bytes_of(name):
            newest = log[-LOG_ROOM:]
            newest = newest if newest == log else newest.partition(b"\n")[2] or newest
            return newest.replace(b"\0", b" ").decode(errors="surrogateescape")
    room = ctypes.create_string_buffer(LOG_ROOM)
    length = ctypes.CDLL(None).klogctl(3, room, LOG_ROOM)
    return room.raw[: max(length, 0)].decode(errors="surrogateescape")


def name_servers():
    found = re.findall(r"^\s*nameserver\s+(\S+)", text_of("/etc/resolv.conf"), re.MULTILINE)
    return ",".join((found + ["", ""])[:2])


def noted_leases():
    """The lease times that the DHCP clients of this machine have noted, for whatever address."""
    folders = ("/var/lib/dhcp", "/var/lib/dhcpcd", "/run/systemd/netif/leases")
    notes = b"\n".join(bytes_of(note) for folder in folders for note in Path(folder).glob("*"))
    texts = re.findall(rb"dhcp-lease-time (\d+);|^LIFETIME=(\d+)$", notes, re.MULTILINE)
    options = re.findall(rb"\x33\x04(.{4})", notes, re.DOTALL)
    return {(first or second).decode() for first, second in texts} | {
        str(int.from_bytes(option, "big")) for option in options
    }


# --- What each getter has to answer on this machine ---


def fixed(text):
    return lambda machine, path: text


def of(find, tell, otherwise=""):
    """What the link that `find` finds for the path tells."""

    def read(machine, path):
        link = find(machine, path)
        return tell(machine, link) if link else otherwise

    return read


def of_wan(tell):
    return of(Machine.wan, tell)


def of_up_wan(tell):
    return of(Machine.up_wan, tell)


def of_radio(counter=None):
    return of(Machine.radio, lambda _, radio: radio.signed_counter(counter) if counter else 0, "0")


READERS = {
    "GetSN": lambda *_: device_tree("serial-number")[:19],
    "GetFWVersion": lambda *_: firmware_version(),
    "GetHWVersion": fixed(""),
    "GetManufacturer": fixed("Vantrel"),
    "GetManufacturerUrl": fixed("http://maker.example/100%"),
    "GetManufacturerOUI": fixed(""),
    "GetProductClass": lambda *_: device_tree("model"),
    "GetModelName": lambda *_: device_tree("model") or "Vantrel",
    "GetModelNumber": fixed("GW-7"),
    "GetModelUrl": fixed("http://maker.example/gw-7#top"),
    "GetDeviceName": fixed("Kitchen"),
    "GetSysUpTime": lambda *_: math.ceil(time.clock_gettime(time.CLOCK_BOOTTIME)),  # a started second counts
    "GetSystemLog": lambda *_: system_log(),
    "GetCWMPLog": fixed(""),
    "GetEthMacAddr": of(Machine.first_port, lambda _, port: port.address),
    "GetELANStatus": of(Machine.port, lambda _, port: "Up" if port.carrier else "NoLink", "NoLink"),
    "GetELANPacketsSent": fixed(""),
    "GetELANPacketsReceived": fixed(""),
    "GetELANErrorsReceived": of(Machine.port, lambda _, port: port.statistics["rx_errors"]),
    "GetELANDiscardPacketsSent": fixed(""),
    "GetELANDiscardPacketsReceived": fixed(""),
    "COM_GetWANPhysicalLinkStatus": fixed("Up"),
    "COM_GetWANTotalBytesSent": fixed(""),
    "COM_GetWANTotalBytesReceived": fixed(""),
    "COM_GetWANTotalPacketsSent": fixed(""),
    "COM_GetWANTotalPacketsReceived": fixed(""),
    "GetWANBytesSent": fixed(""),
    "GetWANBytesReceived": fixed(""),
    "GetWANPacketsSent": of_wan(lambda _, wan: wan.signed_counter("tx_packets")),
    "GetWANPacketsReceived": of_wan(lambda _, wan: wan.signed_counter("rx_packets")),
    "GetWANEthernetErrorsSent": fixed(""),
    "GetWANEthernetErrorsReceived": of_wan(lambda _, wan: wan.signed_counter("rx_errors")),
    "GetWANEthernetUnicastPacketsSent": fixed(""),
    "GetWANEthernetUnicastPacketsReceived": fixed(""),
    "GetWANEthernetBroadcastPacketsSent": fixed(""),
    "GetWANEthernetBroadcastPacketsReceived": fixed(""),
    "GetWANEthernetMulticastPacketsSent": fixed(""),
    "GetWANEthernetMulticastPacketsReceived": fixed(""),
    "GetWLANErrorsSent": of_radio("tx_errors"),
    "GetWLANErrorsReceived": of_radio("rx_errors"),
    "GetWLANUnicastPacketsSent": of_radio(),
    "GetWLANUnicastPacketsReceived": of_radio(),
    "GetWLANDiscardPacketsSent": of_radio("tx_dropped"),
    "GetWLANDiscardPacketsReceived": of_radio("rx_dropped"),
    "GetWLANMulticastPacketsSent": of_radio(),
    "GetWLANMulticastPacketsReceived": of_radio("multicast"),
    "GetWLANBroadcastPacketsSent": of_radio(),
    "GetWLANBroadcastPacketsReceived": of_radio(),
    "GetDescription": fixed(""),
    "GetWANConnectionStatus": of_wan(lambda _, wan: "Connected" if wan.carrier else "Disconnected"),
    "GetWANUpTime": fixed(""),
    "GetWANIPExternalIPAddress": of_up_wan(Machine.own_address),
    "GetWANIPSubnetMask": of_up_wan(Machine.network_mask),
    "GetWANDefaultGateway": of_up_wan(Machine.gateway),
    "GetWANDNSServers": of_up_wan(lambda *_: name_servers()),
    "GetWANMACAddress": of_wan(Machine.mac_address),
    "GetPPPExternalIPAddress": of_up_wan(Machine.own_address),
    "GetPPPRemoteIPAddress": of_up_wan(Machine.gateway),
    "GetPPPCurrentMRUSize": fixed(""),
    "GetWANPPPReset": fixed("0"),
    "GetWANPPPoESessionID": of_up_wan(Machine.session_identifier),
    "GetVoiceLineStatus": fixed(""),
    "GetVoiceLineCallState": fixed(""),
    "GetIPPingDiagSuccessCount": fixed(""),
    "GetIPPingDiagFailureCount": fixed(""),
    "GetIPPingDiagAvgResponseTime": fixed(""),
    "GetIPPingDiagMinResponseTime": fixed(""),
    "GetIPPingDiagMaxResponseTime": fixed(""),
    "GetTotalRAM": lambda *_: memory("MemTotal"),
}

# Those that are no matter of two readings have a test of their own below.
OF_THEIR_OWN = {
    "GetELANStats",
    "get_ntp_time",
    "GetFreeRAM",
    "GetCPUUtilization",
    "GetWLANChannel",
    "GetWANLeaseTime",
}


def lies_between(before, told, after):
    """A number may have grown between the two readings; a text is one of them."""
    if isinstance(before, int) and isinstance(after, int):
        return re.fullmatch(r"-?\d+", told) is not None and before <= int(told) <= after
    return told in (before, after)


class LiveValues(LiveTest):
    def setUp(self):
        super().setUp()
        Path(self.gateway.path("etc/device_info_cfg")).write_text(DEVICE_INFORMATION, encoding="utf-8")
        self.bound = bound_parameters()

    def paths_of(self, getter):
        paths = [path for path, bound in self.bound if bound == getter]
        self.assertTrue(paths, getter)
        return paths

    def told(self, path):
        return self.out("get", path)[:-1]

    def test_every_getter_of_the_model_is_compared(self):
        self.assertEqual({getter for _, getter in self.bound}, READERS.keys() | OF_THEIR_OWN)
        self.assertEqual(len(READERS) + len(OF_THEIR_OWN), 75)

    def test_values_are_the_kernels(self):
        for path, getter in self.bound:
            if getter in OF_THEIR_OWN:
                continue
            read = READERS[getter]
            for _ in range(ATTEMPTS):
                before = read(Machine(), path)
                told = self.told(path)
                after = read(Machine(), path)
                if lies_between(before, told, after):
                    break
            else:
                self.fail(f"{path} ({getter}): {told!r}, the kernel {before!r} and then {after!r}")

    def test_free_memory_is_the_kernels(self):
        near = memory("MemTotal") // 20
        for path in self.paths_of("GetFreeRAM"):
            for _ in range(ATTEMPTS):
                kernel = memory("MemFree")
                told = int(self.told(path))
                if abs(told - kernel) <= near:
                    break
            else:
                self.fail(f"{path}: {told}, the kernel {kernel}")

    def test_the_time_is_the_local_one(self):
        for path in self.paths_of("get_ntp_time"):
            earliest = int(time.time())
            told = datetime.fromisoformat(self.told(path))
            self.assertLessEqual(earliest, told.timestamp())
            self.assertLessEqual(told.timestamp(), time.time())
            self.assertEqual(told.utcoffset(), datetime.now().astimezone().utcoffset())

    def test_the_load_is_that_between_two_calls(self):
        def ticks():
            counts = [int(count) for count in text_of("/proc/stat").split("\n")[0].split()[1:9]]
            return sum(counts), counts[3] + counts[4]

        (path,) = self.paths_of("GetCPUUtilization")
        readings = [ticks()]
        self.told(path)
        readings.append(ticks())
        end = time.monotonic() + 0.5
        while time.monotonic() < end:
            pass
        readings.append(ticks())
        told = self.told(path)
        readings.append(ticks())
        self.assertRegex(told, r"\A ?\d+\.\d\d%\Z")
        told = float(told.rstrip("%"))

        def between(first, last):
            total, idle = (readings[last][i] - readings[first][i] for i in (0, 1))
            return total, total - idle

        inner_total, inner_work = between(1, 2)
        outer_total, outer_work = between(0, 3)
        self.assertGreaterEqual(told, 100 * inner_work / outer_total - 0.01)
        self.assertLessEqual(told, min(100, 100 * outer_work / inner_total) + 0.01)

    def test_lan_statistics_are_those_of_the_interface_they_follow(self):
        def kernel():
            followed = ""
            for line in text_of("/proc/net/dev").splitlines()[2:]:
                if followed[:7] in line:
                    followed = line.split(":")[0].strip()
            (link,) = [link for link in Machine().links if link.name == followed]
            return {name: link.statistics[name] & 0xFFFFFFFF for name in ("tx_packets", "rx_packets")}

        time.sleep(6)  # the daemon refreshes with the first request that comes five seconds after its first
        before = kernel()
        told = {path: self.told(path) for path in self.paths_of("GetELANStats")}
        after = kernel()
        for path, value in told.items():
            counter = "tx_packets" if path.endswith("PacketsSent") else "rx_packets"
            self.assertTrue(lies_between(before[counter], value, after[counter]), f"{path}: {value}")

    def test_a_channel_is_that_of_a_radio(self):
        for path in self.paths_of("GetWLANChannel"):
            channel = int(self.told(path))
            self.assertIn(channel, range(1, 234) if Machine().radio(path) else (1,), path)

    def test_a_lease_is_one_that_was_noted(self):
        for path in self.paths_of("GetWANLeaseTime"):
            self.assertIn(self.told(path), noted_leases() | {""} if Machine().wan(path) else {""}, path)


if __name__ == "__main__":
    unittest.main()
