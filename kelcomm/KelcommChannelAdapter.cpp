#include "kelcomm/KelcommChannelAdapter.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "kelcomm/KelcommChannelBuffer.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

constexpr int kStartAttempts = 60;
constexpr std::chrono::milliseconds kStartDelay{1000};

}  // namespace

CKelcommChannelAdapter::CKelcommChannelAdapter(std::uint32_t unused1, std::uint32_t unused2,
                                               const Native::NativeFunctions& native,
                                               boost::shared_ptr<Base::IClock> clock)
    : CKelcommChannel(unused1, unused2, native), clock_(std::move(clock)) {}

CKelcommChannelAdapter::CKelcommChannelAdapter(std::unique_ptr<IKelcommClient> nonLegacyClient,
                                               std::unique_ptr<IKelcommClient> legacyClient,
                                               boost::shared_ptr<Base::IClock> clock)
    : CKelcommChannel(std::move(nonLegacyClient), std::move(legacyClient)),
      clock_(std::move(clock)) {}

CKelcommChannelAdapter::~CKelcommChannelAdapter() = default;

void CKelcommChannelAdapter::Start() {
    int attemptsLeft = kStartAttempts;
    std::string errors;
    while (attemptsLeft > 0) {
        --attemptsLeft;
        errors.clear();
        if (Ping(errors)) {
            break;
        }
        clock_->SleepFor(kStartDelay);
    }
    // Deliberate: a reply to the last ping comes too late.
    if (attemptsLeft == 0) {
        throw std::runtime_error("Cannot start kelcomm channel: " + errors);
    }
}

void CKelcommChannelAdapter::Send(const std::vector<unsigned char>& request) {
    const std::vector<unsigned char> reply = Exchange(request);
    // A copy: the receiver may install another one while it runs.
    if (const boost::shared_ptr<IBufferReceiver> receiver = receiver_) {
        receiver->OnBufferReceived(reply);
    }
}

std::vector<unsigned char> CKelcommChannelAdapter::Exchange(
    const std::vector<unsigned char>& request) {
    KelcommChannelBuffer requestBuffer;
    requestBuffer.Append(request.data(), request.size());
    KelcommChannelBuffer replyBuffer;
    SendRequest(requestBuffer, replyBuffer);
    // Neither buffer's spare room lives on in the reply: a receiver may send, and what it sends is
    // answered while this reply is still held.
    std::vector<unsigned char> reply = replyBuffer.TakeBytes();
    if (reply.size() <= reply.capacity() / 2) {
        reply.shrink_to_fit();
    }
    return reply;
}

void CKelcommChannelAdapter::SetBufferReceiver(const boost::shared_ptr<IBufferReceiver>& receiver) {
    receiver_ = receiver;
}

void CKelcommChannelAdapter::Stop() {}

}  // namespace Kyr::Connectors::Common::Kelcomm
