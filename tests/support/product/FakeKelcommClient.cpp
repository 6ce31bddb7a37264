#include "tests/support/product/FakeKelcommClient.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/LittleEndian.h"

namespace Kyr::Test {

namespace {

constexpr std::uint32_t kPingCommand = 0;

KelcommScript::Answer NextAnswer(std::deque<KelcommScript::Answer>& queue,
                                 const KelcommScript::Answer& standing) {
    if (queue.empty()) {
        return standing;
    }
    KelcommScript::Answer answer = std::move(queue.front());
    queue.pop_front();
    return answer;
}

/// Marks a script as in use, and notices when it already was.
class CUse {
  public:
    explicit CUse(KelcommScript& script) : script_(script) {
        if (script_.inUse.exchange(true)) {
            script_.overlapped = true;
        }
        if (script_.whileServing) {
            script_.whileServing();
        }
    }
    ~CUse() { script_.inUse = false; }
    CUse(const CUse&) = delete;
    CUse& operator=(const CUse&) = delete;

  private:
    KelcommScript& script_;
};

}  // namespace

std::vector<unsigned char> KelcommReply(std::uint32_t status, std::uint32_t value,
                                        const std::vector<unsigned char>& body) {
    std::vector<unsigned char> reply(12 + body.size());
    Base::StoreLittleEndian<std::uint32_t>(reply.data(), 12);
    Base::StoreLittleEndian(reply.data() + 4, status);
    Base::StoreLittleEndian(reply.data() + 8, value);
    std::copy(body.begin(), body.end(), reply.begin() + 12);
    return reply;
}

void KelcommScript::SetBroadcast(std::int32_t index, std::int32_t value) {
    // The places of the values in the product's area.
    constexpr std::size_t kPlaces[] = {24, 28, 32, 36, 40, 52, 56, 60, 64, 68};
    Base::StoreLittleEndian(&broadcastArea.at(kPlaces[index]), static_cast<std::uint32_t>(value));
}

CFakeKelcommClient::CFakeKelcommClient(boost::shared_ptr<KelcommScript> script)
    : script_(std::move(script)) {}

CFakeKelcommClient::~CFakeKelcommClient() {
    Note("destroyed");
}

std::uint32_t CFakeKelcommClient::Initialize(std::uint32_t, std::uint32_t, std::uint32_t) {
    return Kelcomm::kKelcommSuccess;
}

std::uint32_t CFakeKelcommClient::Uninitialize() {
    return Kelcomm::kKelcommSuccess;
}

std::uint32_t CFakeKelcommClient::Close() {
    Note("closed");
    return Kelcomm::kKelcommSuccess;
}

std::uint32_t CFakeKelcommClient::RequestToBuffer(std::uint32_t, std::uint32_t, const void*,
                                                  std::uint32_t, Kelcomm::CBuffer*, std::int64_t) {
    return Kelcomm::kKelcommFailure;
}

std::uint32_t CFakeKelcommClient::Request(std::uint32_t flags, std::uint32_t command,
                                          const void* request, std::uint32_t requestLength,
                                          void* reply, std::uint32_t replyCapacity,
                                          std::uint32_t* replyLength, std::int64_t timeout) {
    const CUse use(*script_);
    const bool isPing = command == kPingCommand;
    const auto* first = static_cast<const unsigned char*>(request);
    (isPing ? script_->seenPings : script_->seenRequests)
        .push_back({flags,
                    command,
                    {first, first + requestLength},
                    reply != nullptr,
                    replyCapacity,
                    replyLength != nullptr,
                    timeout,
                    request});
    const KelcommScript::Answer answer =
        isPing           ? NextAnswer(script_->pings, script_->standingPing)
        : script_->serve ? script_->serve(script_->seenRequests.back())
                         : NextAnswer(script_->requests, script_->standingRequest);
    if (script_->soil) {
        std::memset(reply, 0xEE, replyCapacity);
    }
    if (answer.code != Kelcomm::kKelcommSuccess) {
        return answer.code;
    }
    if (answer.reply.size() > replyCapacity) {
        return script_->tooLargeCode;
    }
    std::copy(answer.reply.begin(), answer.reply.end(), static_cast<unsigned char*>(reply));
    if (replyLength != nullptr) {
        *replyLength = static_cast<std::uint32_t>(answer.reply.size()) + script_->toldBeyond;
    }
    return Kelcomm::kKelcommSuccess;
}

std::uint32_t CFakeKelcommClient::ReadBroadcast(std::uint32_t offset, void* destination,
                                                std::uint32_t length) {
    const CUse use(*script_);
    script_->seenBroadcastOffsets.push_back(offset);
    const auto& area = script_->broadcastArea;
    if (script_->unreadableBroadcastOffsets.count(offset) != 0 ||
        std::uint64_t{offset} + length > area.size()) {
        return Kelcomm::kKelcommFailure;
    }
    std::copy_n(area.begin() + offset, length, static_cast<unsigned char*>(destination));
    return Kelcomm::kKelcommSuccess;
}

std::uint32_t CFakeKelcommClient::ReadBroadcastValue(std::uint32_t offset, std::uint32_t* value) {
    if (const auto far = script_->farBroadcastWords.find(offset);
        far != script_->farBroadcastWords.end()) {
        script_->seenBroadcastOffsets.push_back(offset);
        *value = far->second;
        return Kelcomm::kKelcommSuccess;
    }
    unsigned char bytes[4];
    const std::uint32_t code = ReadBroadcast(offset, bytes, sizeof bytes);
    if (code == Kelcomm::kKelcommSuccess) {
        *value = Base::LoadLittleEndian<std::uint32_t>(bytes);
    }
    return code;
}

void CFakeKelcommClient::Note(const std::string& event) {
    if (script_->journal != nullptr) {
        script_->journal->push_back(script_->name + " " + event);
    }
}

}  // namespace Kyr::Test
