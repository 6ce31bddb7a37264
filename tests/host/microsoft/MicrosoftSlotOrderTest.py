"""The order of virtual operations as a compiler of the Microsoft ABI lays it out: MicrosoftSlotOrderTest.py <clang++>

The product's library is built by one compiler family; a host built by the other would find the same slots wherever a
table is simple. This pins where that is so, and the one place where it is not: that ABI turns neighbouring overloads round.
A destructor has one slot there.
"""
import pathlib
import re
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[2]
COMPILER = "clang++"


def dump():
    command = [COMPILER, "--target=i686-pc-windows-msvc", "-std=c++17", "-fms-compatibility", "-nostdinc", "-Werror",
               f"-I{HERE / 'declarations'}", f"-I{ROOT}", "-c", "-o", "/dev/null", "-Xclang", "-fdump-vtable-layouts",
               str(HERE / "Interfaces.cpp")]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def read_tables(text):
    """Class name -> its first table, an operation a slot. The entry before the slots is the type's description."""
    tables = {}
    for block in re.split(r"\n\s*\n", text):
        title = re.match(r"VFTable for (?:'[^']*' in )*'([^']*)' \(", block)
        if title:
            names = []
            for operation in re.findall(r"^\s+\d+ \| (?!.* RTTI$)(.*)", block, re.M):
                if "~" in operation:
                    names.append("~")
                else:
                    names.append(re.search(r"(\w+)\(", operation).group(1))
            name = title.group(1)
            tables.setdefault(name[name.rindex("::") + 2:], (names, block))
    return tables


class MicrosoftSlotOrder(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.tables = read_tables(dump())

    def assert_slots(self, name, *operations):
        self.assertEqual(list(operations), self.tables[name][0])

    def test_module(self):
        self.assert_slots("IModule", "~", "Initialize", "Start", "RequestStop", "Stop", "GetName")

    def test_resources(self):
        self.assert_slots("IResourceProvider", "~", "GetResource")
        self.assert_slots("IBusResource", "~", "Publish", "Subscribe")
        self.assert_slots("ILoggerResource", "~", "Reserved1", "Log")
        self.assert_slots("IDatabaseResource", "~", "Reserved1", "GetMapper")

    def test_instance_identifier_is_in_slot_12(self):
        operations = self.tables["IInstallConfigurationResource"][0]
        self.assertEqual("GetInstanceUUID", operations[12])
        self.assertEqual(13, len(operations))

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

    def test_the_two_binary_readers_of_a_container_are_turned_round(self):
        # Elsewhere slot 56 takes the pointer and the length, 57 the text.
        block = self.tables["ISymbolContainer"][1]
        self.assertRegex(block, r"57 \| void [\w:]+::DeserializeFromBinary\(const std::string &\)")
        self.assertRegex(block, r"58 \| void [\w:]+::DeserializeFromBinary\(const char \*, std::size_t\)")

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
