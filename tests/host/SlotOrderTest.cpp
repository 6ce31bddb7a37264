// The far slots of the host's interfaces, as the compiler that builds lays them out: an operation
// that moves calls another one across the library border. All slots, as clang lays them out for
// each family of compilers: slots/SlotOrderTest.py.
#include <gtest/gtest.h>

#include "host/database/IMapper.h"
#include "host/kernel/IModule.h"
#include "host/kernel/Resources.h"
#include "host/logs/IMultiSymbolContainer.h"
#include "host/logs/IProtobufGetter.h"
#include "host/logs/ISymbolContainer.h"
#include "host/message/LogMessage.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Test {
namespace {

using namespace Common::Database;
using namespace Common::Kernel;
using Common::Logs::ILockable;
using Common::Logs::IMultiSymbolContainer;
using Common::Logs::IProtobufGetter;
using Common::Logs::ISerializable;
using Common::Message::CLogMessage;
using Common::Message::CWriteControl;
using Row = Common::Logs::ISymbolContainer;

using FromBytes = void (Row::*)(const char*, std::size_t);
using FromText = void (Row::*)(const std::string&);

TEST(SlotOrderTest, FarSlotsAreThoseOfTheContract) {
    const struct {
        const char* operation;
        int slot;
        int expected;
    } kRows[] = {
        {"IModule::Initialize", VirtualSlot(&IModule::Initialize), 1},
        {"IModule::GetName", VirtualSlot(&IModule::GetName), 5},
        {"IResourceProvider", VirtualSlot(&IResourceProvider::GetResource), 1},
        {"IBusResource::Publish", VirtualSlot(&IBusResource::Publish), 1},
        {"IBusResource::Subscribe", VirtualSlot(&IBusResource::Subscribe), 2},
        {"ILoggerResource", VirtualSlot(&ILoggerResource::Log), 2},
        {"IInstallConfigurationResource",
         VirtualSlot(&IInstallConfigurationResource::GetInstanceUUID), 12},
        {"IIdGeneratorResource", VirtualSlot(&IIdGeneratorResource::GenerateId), 1},
        {"IDatabaseResource", VirtualSlot(&IDatabaseResource::GetMapper), 2},
        {"IKeyValueAccessMapper", VirtualSlot(&IKeyValueAccessMapper::SetValue), 2},
        {"IOvRemediationActionsMapper", VirtualSlot(&IOvRemediationActionsMapper::StoreActions), 1},
        {"ISubscriber::Push", VirtualSlot(&ISubscriber::Push), 1},
        {"ISubscriber::VisitPendingMessages", VirtualSlot(&ISubscriber::VisitPendingMessages), 3},
        {"IMessage", VirtualSlot(&IMessage::Equals), 3},
        {"CLogMessage::Validate", VirtualSlot(&CLogMessage::Validate), 4},
        {"CLogMessage::IsValid", VirtualSlot(&CLogMessage::IsValid), 5},
        {"CWriteControl", VirtualSlot(&CWriteControl::CheckWritable), 3},
        {"ILockable", VirtualSlot(&ILockable::Unlock), 2},
        {"IProtobufGetter", VirtualSlot(&IProtobufGetter::GetProtobuf), 1},
        {"ISerializable", VirtualSlot(&ISerializable::DeserializeFromString), 2},
        {"ISymbolContainer::HasSymbol", VirtualSlot(&Row::HasSymbol), 3},
        {"ISymbolContainer::GetValue", VirtualSlot(&Row::GetValue), 4},
        {"ISymbolContainer::GetUuid", VirtualSlot(&Row::GetUuid), 14},
        {"ISymbolContainer::FindValue", VirtualSlot(&Row::FindValue), 15},
        {"ISymbolContainer::FindUuid", VirtualSlot(&Row::FindUuid), 25},
        {"ISymbolContainer::AddValue", VirtualSlot(&Row::AddValue), 26},
        {"ISymbolContainer::AddUuidMessage", VirtualSlot(&Row::AddUuidMessage), 38},
        {"ISymbolContainer::SetValue", VirtualSlot(&Row::SetValue), 39},
        {"ISymbolContainer::SetUtcTime", VirtualSlot(&Row::SetUtcTime), 46},
        {"ISymbolContainer::RemoveSymbol", VirtualSlot(&Row::RemoveSymbol), 47},
        {"ISymbolContainer::SerializeToBinary", VirtualSlot(&Row::SerializeToBinary), 55},
        {"ISymbolContainer::DeserializeFromBinary of bytes",
         VirtualSlot(static_cast<FromBytes>(&Row::DeserializeFromBinary)), 56},
        {"ISymbolContainer::DeserializeFromBinary of a text",
         VirtualSlot(static_cast<FromText>(&Row::DeserializeFromBinary)), 57},
        {"ISymbolContainer::NotEquals", VirtualSlot(&Row::NotEquals), 58},
        {"IMultiSymbolContainer::AddRow", VirtualSlot(&IMultiSymbolContainer::AddRow), 3},
        {"IMultiSymbolContainer::Clone", VirtualSlot(&IMultiSymbolContainer::Clone), 10},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(row.slot, row.expected) << row.operation;
    }
}

}  // namespace
}  // namespace Kyr::Test
