// A delivery context that holds up the thread that lets it go.
//
// The last owner of a message's context is the thread that has handled the message: it lets the
// context go with the next message, with no lock held, or when it ends.
#pragma once

#include <atomic>
#include <gtest/gtest.h>

#include "host/kernel/IDeliveryContext.h"
#include "tests/support/time/Await.h"

namespace Kyr::Connectors::Common {

class CLastingContext : public Kyr::Common::Kernel::IDeliveryContext {
  public:
    /// Sets `reached` when it is let go, and lasts until `released` is set.
    CLastingContext(std::atomic<bool>& reached, const std::atomic<bool>& released)
        : reached_(reached), released_(released) {}
    CLastingContext(const CLastingContext&) = delete;
    CLastingContext& operator=(const CLastingContext&) = delete;
    ~CLastingContext() override {
        reached_ = true;
        EXPECT_TRUE(Kyr::Test::Await([this] { return released_.load(); }));
    }

  private:
    std::atomic<bool>& reached_;
    const std::atomic<bool>& released_;
};

}  // namespace Kyr::Connectors::Common
