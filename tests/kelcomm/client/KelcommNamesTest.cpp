#include <gtest/gtest.h>
#include <string>

#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"

namespace Kyr::Test {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;
using Kelcomm::kKelcommClientId;
using Kelcomm::kKelcommServerId;

std::u16string Text(const Kelcomm::ObjectName& name) {
    return name.data();
}

TEST(KelcommNamesTest, PortNamesBeginWithTheClient) {
    EXPECT_EQ(u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPort",
              Text(Kelcomm::LpcPortName(kKelcommClientId, kKelcommServerId)));
    EXPECT_EQ(u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPortAlpc",
              Text(Kelcomm::AlpcPortName(kKelcommClientId, kKelcommServerId)));
}

TEST(KelcommNamesTest, BroadcastNamesBeginWithTheServer) {
    EXPECT_EQ(u"Global\\KELCOMM61564B51To31564B51BroadcastMutex",
              Text(Kelcomm::BroadcastMutexName(kKelcommClientId, kKelcommServerId)));
    EXPECT_EQ(u"Global\\KELCOMM61564B51To31564B51Broadcast",
              Text(Kelcomm::BroadcastSectionName(kKelcommClientId, kKelcommServerId)));
}

TEST(KelcommNamesTest, IdsHaveEightUpperCaseDigits) {
    EXPECT_EQ(u"\\BaseNamedObjects\\KELCOMM0000000ATo00ABCDEFCommPort",
              Text(Kelcomm::LpcPortName(0xA, 0xABCDEF)));
}

TEST(KelcommNamesTest, ModuleIdsAreTheirAsciiBytes) {
    EXPECT_EQ(0x31564B51U, kKelcommClientId);  // '1' 'V' 'K' 'Q'
    EXPECT_EQ(0x61564B51U, kKelcommServerId);
}

}  // namespace

}  // namespace Kyr::Test
