#include <gtest/gtest.h>

#include "portlayer/ClientFunctions.h"
#include "portlayer/FunctionsByName.h"

namespace Kyr::PortLayer {
namespace {

TEST(FunctionsByNameTest, FunctionIsFoundUnderTheNameThatTheSystemExports) {
    EXPECT_EQ(FindFunctionByName("NtAlpcSendWaitReceivePort"),
              reinterpret_cast<GenericFunction>(&NtAlpcSendWaitReceivePort));
    EXPECT_EQ(FindFunctionByName("CloseHandle"), reinterpret_cast<GenericFunction>(&CloseHandle));
}

TEST(FunctionsByNameTest, ServersFunctionsAreNotForClients) {
    EXPECT_EQ(FindFunctionByName("NtCreatePort"), nullptr);
}

TEST(FunctionsByNameTest, UnknownNameIsNotFound) {
    EXPECT_EQ(FindFunctionByName("OpenProcessToken"), nullptr);
    EXPECT_EQ(FindFunctionByName("NtConnect"), nullptr);
    EXPECT_EQ(FindFunctionByName(""), nullptr);
}

}  // namespace
}  // namespace Kyr::PortLayer
