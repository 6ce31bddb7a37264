// The agent's instance as tasks and core ask for it: always the same, unless the test changes it.
//
// Threads: set while nobody asks.
#pragma once

#include <string>

#include "connector/IInstanceUUIDProvider.h"

namespace Kyr::Test {

class CFixedInstance final : public Connectors::Common::IInstanceUUIDProvider {
  public:
    std::string GetInstanceUUID() const override { return uuid; }

    std::string uuid = "12345678-9abc-def0-1234-56789abcdef0";
};

}  // namespace Kyr::Test
