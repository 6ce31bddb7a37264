// A channel between two scripted clients: what the channel's tests stand on.
#pragma once

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "tests/support/HexBytes.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Test {

class ChannelFixture : public testing::Test {
  protected:
    ChannelFixture() {
        alpc_->name = "alpc";
        lpc_->name = "lpc";
        // What the real clients answer when a reply does not fit.
        lpc_->tooLargeCode = Kelcomm::kKelcommFailure;
        alpc_->journal = lpc_->journal = &journal_;
    }

    std::unique_ptr<Kelcomm::IKelcommClient> AlpcClient() const { return Client(alpc_); }
    std::unique_ptr<Kelcomm::IKelcommClient> LpcClient() const { return Client(lpc_); }

    static std::unique_ptr<Kelcomm::IKelcommClient> Client(
        const boost::shared_ptr<KelcommScript>& script) {
        return std::make_unique<CFakeKelcommClient>(script);
    }

    /// Writes `value` to the data area that both clients read, which grows as needed.
    void SetWord(std::uint32_t offset, std::uint32_t value) {
        for (const auto& script : {alpc_, lpc_}) {
            auto& area = script->broadcastArea;
            area.resize(std::max<std::size_t>(area.size(), offset + 4));
            for (int i = 0; i < 4; ++i) {
                area[offset + i] = static_cast<unsigned char>(value >> 8 * i);
            }
        }
    }

    /// Writes an entry of the module table, which begins at 100.
    void SetModule(std::uint32_t index, std::uint32_t id, std::uint32_t timestamp,
                   std::uint32_t userDataOffset = 200, std::uint32_t userDataSize = 8) {
        SetWord(12, 100);
        const std::uint32_t entry = 100 + 20 * index;
        SetWord(entry, id);
        SetWord(entry + 4, userDataSize);
        SetWord(entry + 8, userDataOffset);
        SetWord(entry + 12, timestamp);
        SetWord(entry + 16, 0xEEEEEEEE);
    }

    std::vector<std::string> journal_;
    const boost::shared_ptr<KelcommScript> alpc_ = boost::make_shared<KelcommScript>();
    const boost::shared_ptr<KelcommScript> lpc_ = boost::make_shared<KelcommScript>();
};

}  // namespace Kyr::Test
