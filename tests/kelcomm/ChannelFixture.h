// A channel between two scripted clients: what the channel's tests stand on.
#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "tests/support/FakeKelcommClient.h"
#include "tests/support/HexBytes.h"

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

    /// The text of the Expected exception that `action` throws.
    template <typename Expected = std::runtime_error, typename Action>
    static std::string TextThrownBy(Action action) {
        try {
            action();
        } catch (const Expected& error) {
            return error.what();
        }
        return "nothing was thrown";
    }

    static std::unique_ptr<Kelcomm::IKelcommClient> Client(
        const boost::shared_ptr<CKelcommScript>& script) {
        return std::make_unique<CFakeKelcommClient>(script);
    }

    std::vector<std::string> journal_;
    const boost::shared_ptr<CKelcommScript> alpc_ = boost::make_shared<CKelcommScript>();
    const boost::shared_ptr<CKelcommScript> lpc_ = boost::make_shared<CKelcommScript>();
};

}  // namespace Kyr::Test
