// The order of virtual operations is the contract between host and module: an operation that moves
// calls another one across the library border.
#include <gtest/gtest.h>

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
using Logs::IMultiSymbolContainer;
using Logs::IProtobufGetter;
using Logs::ISerializable;
using Logs::ISymbolContainer;
using Message::CLogMessage;
using Message::CWriteControl;
using Test::VirtualSlot;

TEST(SlotOrderTest, Module) {
    EXPECT_EQ(VirtualSlot(&IModule::Initialize), 1);
    EXPECT_EQ(VirtualSlot(&IModule::Start), 2);
    EXPECT_EQ(VirtualSlot(&IModule::RequestStop), 3);
    EXPECT_EQ(VirtualSlot(&IModule::Stop), 4);
    EXPECT_EQ(VirtualSlot(&IModule::GetName), 5);
}

TEST(SlotOrderTest, ResourceProvider) {
    EXPECT_EQ(VirtualSlot(&IResourceProvider::GetResource), 1);
}

TEST(SlotOrderTest, Resources) {
    EXPECT_EQ(VirtualSlot(&IBusResource::Publish), 1);
    EXPECT_EQ(VirtualSlot(&IBusResource::Subscribe), 2);
    EXPECT_EQ(VirtualSlot(&ILoggerResource::Log), 2);
    EXPECT_EQ(VirtualSlot(&IInstallConfigurationResource::GetInstanceUUID), 12);
    EXPECT_EQ(VirtualSlot(&IDatabaseResource::GetMapper), 2);
}

TEST(SlotOrderTest, Mappers) {
    EXPECT_EQ(VirtualSlot(&IKeyValueAccessMapper::GetValue), 1);
    EXPECT_EQ(VirtualSlot(&IKeyValueAccessMapper::SetValue), 2);
    EXPECT_EQ(VirtualSlot(&IOvRemediationActionsMapper::StoreActions), 1);
}

TEST(SlotOrderTest, Subscriber) {
    EXPECT_EQ(VirtualSlot(&ISubscriber::Push), 1);
    EXPECT_EQ(VirtualSlot(&ISubscriber::Dump), 2);
    EXPECT_EQ(VirtualSlot(&ISubscriber::VisitPendingMessages), 3);
}

TEST(SlotOrderTest, Messages) {
    EXPECT_EQ(VirtualSlot(&IMessage::GetMessageType), 1);
    EXPECT_EQ(VirtualSlot(&IMessage::GetName), 2);
    EXPECT_EQ(VirtualSlot(&IMessage::Equals), 3);
    EXPECT_EQ(VirtualSlot(&CLogMessage::Validate), 4);
    EXPECT_EQ(VirtualSlot(&CLogMessage::IsValid), 5);
}

TEST(SlotOrderTest, WriteControl) {
    EXPECT_EQ(VirtualSlot(&CWriteControl::IsReadOnly), 1);
    EXPECT_EQ(VirtualSlot(&CWriteControl::SetReadOnly), 2);
    EXPECT_EQ(VirtualSlot(&CWriteControl::CheckWritable), 3);
}

TEST(SlotOrderTest, SmallLogInterfaces) {
    EXPECT_EQ(VirtualSlot(&ILockable::Lock), 1);
    EXPECT_EQ(VirtualSlot(&ILockable::Unlock), 2);
    EXPECT_EQ(VirtualSlot(&IProtobufGetter::GetProtobuf), 1);
    EXPECT_EQ(VirtualSlot(&ISerializable::SerializeToString), 1);
    EXPECT_EQ(VirtualSlot(&ISerializable::DeserializeFromString), 2);
}

TEST(SlotOrderTest, SymbolContainerGetters) {
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::HasSymbol), 3);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetValue), 4);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetBool), 5);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetBlob), 6);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetInt64), 7);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetDouble), 8);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetString), 9);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetResourceId), 10);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetInt32), 11);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetUtcTime), 12);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetTime), 13);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetUuid), 14);
}

TEST(SlotOrderTest, SymbolContainerFinders) {
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindValue), 15);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindBool), 16);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindBlob), 17);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindInt64), 18);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindDouble), 19);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindString), 20);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindResourceId), 21);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindInt32), 22);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindUtcTime), 23);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindTime), 24);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::FindUuid), 25);
}

TEST(SlotOrderTest, SymbolContainerAdders) {
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddValue), 26);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddBool), 27);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddBlob), 28);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddInt64), 29);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddDouble), 30);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddString), 31);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddResourceId), 32);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddInt32), 33);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddUtcTime), 34);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddCurrentTime), 35);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddUuid), 36);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddUuidString), 37);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::AddUuidMessage), 38);
}

TEST(SlotOrderTest, SymbolContainerSetters) {
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SetValue), 39);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SetBool), 40);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SetInt64), 41);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SetString), 42);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SetUuidString), 43);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SetResourceId), 44);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SetBlob), 45);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SetUtcTime), 46);
}

TEST(SlotOrderTest, SymbolContainerRest) {
    using FromBytes = void (ISymbolContainer::*)(const char*, std::size_t);
    using FromText = void (ISymbolContainer::*)(const std::string&);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::RemoveSymbol), 47);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetProtobufSize), 48);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetCount), 49);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetValueAt), 50);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetSymbolAt), 51);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::Equals), 52);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::Clone), 53);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::GetBinarySize), 54);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::SerializeToBinary), 55);
    EXPECT_EQ(VirtualSlot(static_cast<FromBytes>(&ISymbolContainer::DeserializeFromBinary)), 56);
    EXPECT_EQ(VirtualSlot(static_cast<FromText>(&ISymbolContainer::DeserializeFromBinary)), 57);
    EXPECT_EQ(VirtualSlot(&ISymbolContainer::NotEquals), 58);
}

TEST(SlotOrderTest, MultiSymbolContainer) {
    EXPECT_EQ(VirtualSlot(&IMultiSymbolContainer::AddRow), 3);
    EXPECT_EQ(VirtualSlot(&IMultiSymbolContainer::CreateRow), 4);
    EXPECT_EQ(VirtualSlot(&IMultiSymbolContainer::GetRow), 5);
    EXPECT_EQ(VirtualSlot(&IMultiSymbolContainer::GetRowCount), 6);
    EXPECT_EQ(VirtualSlot(&IMultiSymbolContainer::Swap), 7);
    EXPECT_EQ(VirtualSlot(&IMultiSymbolContainer::Equals), 8);
    EXPECT_EQ(VirtualSlot(&IMultiSymbolContainer::SortAndLimit), 9);
    EXPECT_EQ(VirtualSlot(&IMultiSymbolContainer::Clone), 10);
}

}  // namespace
}  // namespace Kyr::Common
