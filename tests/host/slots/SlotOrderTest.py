"""The order of virtual operations, which is the contract between host and module: SlotOrderTest.py <clang++>

An operation that moves calls another one across the library border. The tables are those of every compiler that may build
one of the two: g++ and clang on Linux, MinGW on Windows, and the family of the Microsoft ABI, which is the host's. They are
the same, but that the last turns neighbouring overloads round. A destructor counts as one slot, also where it takes two.

All tables are clang's: its layout stands here for that of g++, of MinGW and of Microsoft's compiler. SlotOrderTest.cpp beside
this folder asks the compiler that builds for the far slots of the same interfaces.
"""
import pathlib
import re
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[2]
COMPILER = "clang++"
MICROSOFT = "i686-pc-windows-msvc"
TARGETS = ["x86_64-linux-gnu", "i686-w64-windows-gnu", MICROSOFT]


def dump(target, source):
    command = [COMPILER, f"--target={target}", "-std=c++17", "-nostdinc", "-Werror", f"-I{HERE / 'declarations'}", f"-I{ROOT}",
               "-c", "-o", "/dev/null", "-Xclang", "-fdump-vtable-layouts", str(source)]
    if target == MICROSOFT:
        command.append("-fms-compatibility")
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def read_tables(text):
    """Class name -> its first table, an operation a slot. The last entry before the slots is the type's description."""
    tables = {}
    for block in re.split(r"\n\s*\n", text):
        title = re.match(r"V(?:FT|t)able for (?:'[^']*' in )*'([^']*)' \(", block)
        if title:
            slots = block.split(" RTTI\n")[1]
            names = []
            for operation in re.findall(r"^\s+\d+ \| (?!offset_to_top)(.*\(.*)", slots, re.M):
                name = "~" if "~" in operation else re.search(r"(\w+)\(", operation).group(1)
                if name != "~" or names[-1:] != ["~"]:
                    names.append(name)
            name = title.group(1)
            tables.setdefault(name[name.rindex("::") + 2:], (names, slots))
    return tables


class SlotOrder(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.tables = {}
        for target in TARGETS:
            cls.tables[target] = read_tables(dump(target, ROOT / "host/Interfaces.cpp") + "\n\n" +
                                             dump(target, HERE / "Interfaces.cpp"))

    def assert_slots(self, name, *operations):
        for target in TARGETS:
            with self.subTest(target=target):
                self.assertEqual(list(operations), self.tables[target][name][0])

    def test_module(self):
        self.assert_slots("IModule", "~", "Initialize", "Start", "RequestStop", "Stop", "GetName")

    def test_resources(self):
        self.assert_slots("IResourceProvider", "~", "GetResource")
        self.assert_slots("IBusResource", "~", "Publish", "Subscribe")
        self.assert_slots("ILoggerResource", "~", "Reserved1", "Log")
        self.assert_slots("IDatabaseResource", "~", "Reserved1", "GetMapper")

    def test_instance_identifier_is_in_slot_12(self):
        self.assert_slots("IInstallConfigurationResource", "~", *(f"Reserved{place}" for place in range(1, 12)),
                          "GetInstanceUUID")

    def test_mappers(self):
        self.assert_slots("IKeyValueAccessMapper", "~", "GetValue", "SetValue")
        self.assert_slots("IOvRemediationActionsMapper", "~", "StoreActions")

    def test_subscriber(self):
        self.assert_slots("ISubscriber", "~", "Push", "Dump", "VisitPendingMessages")

    def test_messages(self):
        self.assert_slots("IMessage", "~", "GetMessageType", "GetName", "Equals")
        self.assert_slots("CLogMessage", "~", "GetMessageType", "GetName", "Equals", "Validate", "IsValid")
        self.assert_slots("CWriteControl", "~", "IsReadOnly", "SetReadOnly", "CheckWritable")

    def test_small_log_interfaces(self):
        self.assert_slots("ILockable", "~", "Lock", "Unlock")
        self.assert_slots("IProtobufGetter", "~", "GetProtobuf")
        self.assert_slots("ISerializable", "~", "SerializeToString", "DeserializeFromString")

    def test_symbol_container(self):
        self.assert_slots(
            "ISymbolContainer", "~", "SerializeToString", "DeserializeFromString", "HasSymbol",
            "GetValue", "GetBool", "GetBlob", "GetInt64", "GetDouble", "GetString", "GetResourceId", "GetInt32",
            "GetUtcTime", "GetTime", "GetUuid",
            "FindValue", "FindBool", "FindBlob", "FindInt64", "FindDouble", "FindString", "FindResourceId", "FindInt32",
            "FindUtcTime", "FindTime", "FindUuid",
            "AddValue", "AddBool", "AddBlob", "AddInt64", "AddDouble", "AddString", "AddResourceId", "AddInt32",
            "AddUtcTime", "AddCurrentTime", "AddUuid", "AddUuidString", "AddUuidMessage",
            "SetValue", "SetBool", "SetInt64", "SetString", "SetUuidString", "SetResourceId", "SetBlob", "SetUtcTime",
            "RemoveSymbol", "GetProtobufSize", "GetCount", "GetValueAt", "GetSymbolAt", "Equals", "Clone",
            "GetBinarySize", "SerializeToBinary", "DeserializeFromBinary", "DeserializeFromBinary", "NotEquals")

    def test_the_two_binary_readers_of_a_container_are_turned_round_by_one_family(self):
        for target in TARGETS:
            with self.subTest(target=target):
                readers = re.findall(r"DeserializeFromBinary\((.*)\)", self.tables[target]["ISymbolContainer"][1])
                expected = ["const char *, std::size_t", "const std::string &"]
                self.assertEqual(expected[::-1] if target == MICROSOFT else expected, readers)

    def test_multi_symbol_container(self):
        self.assert_slots("IMultiSymbolContainer", "~", "Lock", "Unlock", "AddRow", "CreateRow", "GetRow", "GetRowCount",
                          "Swap", "Equals", "SortAndLimit", "Clone")

    def test_channel_whose_destructor_stands_last(self):
        self.assert_slots("IChannel", "Start", "Send", "SetBufferReceiver", "Stop", "~")
        self.assert_slots("IBufferReceiver", "OnBufferReceived", "~")

    def test_protocol_client(self):
        self.assert_slots("IKelcommClient", "~", "Initialize", "Uninitialize", "Close", "RequestToBuffer", "Request",
                          "ReadBroadcast", "ReadBroadcastValue")


if __name__ == "__main__":
    COMPILER = sys.argv.pop(1)
    unittest.main()
