// The order of virtual operations is the contract between host and module: an operation that moves
// calls another one across the library border.
#include <gtest/gtest.h>
#include <numeric>
#include <vector>

#include "host/database/IMapper.h"
#include "host/kernel/IModule.h"
#include "host/kernel/Resources.h"
#include "host/logs/ILockable.h"
#include "host/logs/IMultiSymbolContainer.h"
#include "host/logs/IProtobufGetter.h"
#include "host/logs/ISymbolContainer.h"
#include "host/message/LogMessage.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Common {
namespace {

using Database::IKeyValueAccessMapper;
using Database::IOvRemediationActionsMapper;
using Kernel::IBusResource;
using Kernel::IDatabaseResource;
using Kernel::IInstallConfigurationResource;
using Kernel::ILoggerResource;
using Kernel::IMessage;
using Kernel::IModule;
using Kernel::IResourceProvider;
using Kernel::ISubscriber;
using Logs::ILockable;
using Logs::IProtobufGetter;
using Logs::ISerializable;
using Message::CLogMessage;
using Message::CWriteControl;
using Test::VirtualSlot;
using Row = Logs::ISymbolContainer;

/// Expects the operations in neighbouring slots, from `first` on.
template <typename... Operations>
void ExpectSlots(int first, Operations... operations) {
    const std::vector<int> slots = {VirtualSlot(operations)...};
    std::vector<int> expected(slots.size());
    std::iota(expected.begin(), expected.end(), first);
    EXPECT_EQ(slots, expected);
}

TEST(SlotOrderTest, Module) {
    ExpectSlots(1, &IModule::Initialize, &IModule::Start, &IModule::RequestStop, &IModule::Stop,
                &IModule::GetName);
}

TEST(SlotOrderTest, Resources) {
    ExpectSlots(1, &IResourceProvider::GetResource);
    ExpectSlots(1, &IBusResource::Publish, &IBusResource::Subscribe);
    ExpectSlots(2, &ILoggerResource::Log);
    ExpectSlots(12, &IInstallConfigurationResource::GetInstanceUUID);
    ExpectSlots(2, &IDatabaseResource::GetMapper);
}

TEST(SlotOrderTest, Mappers) {
    ExpectSlots(1, &IKeyValueAccessMapper::GetValue, &IKeyValueAccessMapper::SetValue);
    ExpectSlots(1, &IOvRemediationActionsMapper::StoreActions);
}

TEST(SlotOrderTest, Subscriber) {
    ExpectSlots(1, &ISubscriber::Push, &ISubscriber::Dump, &ISubscriber::VisitPendingMessages);
}

TEST(SlotOrderTest, Messages) {
    ExpectSlots(1, &IMessage::GetMessageType, &IMessage::GetName, &IMessage::Equals);
    ExpectSlots(4, &CLogMessage::Validate, &CLogMessage::IsValid);
    ExpectSlots(1, &CWriteControl::IsReadOnly, &CWriteControl::SetReadOnly,
                &CWriteControl::CheckWritable);
}

TEST(SlotOrderTest, SmallLogInterfaces) {
    ExpectSlots(1, &ILockable::Lock, &ILockable::Unlock);
    ExpectSlots(1, &IProtobufGetter::GetProtobuf);
    ExpectSlots(1, &ISerializable::SerializeToString, &ISerializable::DeserializeFromString);
}

TEST(SlotOrderTest, SymbolContainerGetters) {
    ExpectSlots(3, &Row::HasSymbol, &Row::GetValue, &Row::GetBool, &Row::GetBlob, &Row::GetInt64,
                &Row::GetDouble, &Row::GetString, &Row::GetResourceId, &Row::GetInt32,
                &Row::GetUtcTime, &Row::GetTime, &Row::GetUuid);
}

TEST(SlotOrderTest, SymbolContainerFinders) {
    ExpectSlots(15, &Row::FindValue, &Row::FindBool, &Row::FindBlob, &Row::FindInt64,
                &Row::FindDouble, &Row::FindString, &Row::FindResourceId, &Row::FindInt32,
                &Row::FindUtcTime, &Row::FindTime, &Row::FindUuid);
}

TEST(SlotOrderTest, SymbolContainerAdders) {
    ExpectSlots(26, &Row::AddValue, &Row::AddBool, &Row::AddBlob, &Row::AddInt64, &Row::AddDouble,
                &Row::AddString, &Row::AddResourceId, &Row::AddInt32, &Row::AddUtcTime,
                &Row::AddCurrentTime, &Row::AddUuid, &Row::AddUuidString, &Row::AddUuidMessage);
}

TEST(SlotOrderTest, SymbolContainerSetters) {
    ExpectSlots(39, &Row::SetValue, &Row::SetBool, &Row::SetInt64, &Row::SetString,
                &Row::SetUuidString, &Row::SetResourceId, &Row::SetBlob, &Row::SetUtcTime);
}

TEST(SlotOrderTest, SymbolContainerRest) {
    using FromBytes = void (Row::*)(const char*, std::size_t);
    using FromText = void (Row::*)(const std::string&);
    ExpectSlots(47, &Row::RemoveSymbol, &Row::GetProtobufSize, &Row::GetCount, &Row::GetValueAt,
                &Row::GetSymbolAt, &Row::Equals, &Row::Clone, &Row::GetBinarySize,
                &Row::SerializeToBinary, static_cast<FromBytes>(&Row::DeserializeFromBinary),
                static_cast<FromText>(&Row::DeserializeFromBinary), &Row::NotEquals);
}

TEST(SlotOrderTest, MultiSymbolContainer) {
    using Rows = Logs::IMultiSymbolContainer;
    ExpectSlots(3, &Rows::AddRow, &Rows::CreateRow, &Rows::GetRow, &Rows::GetRowCount, &Rows::Swap,
                &Rows::Equals, &Rows::SortAndLimit, &Rows::Clone);
}

}  // namespace
}  // namespace Kyr::Common
