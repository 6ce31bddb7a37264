#include "tests/support/product/FakeKelcommClient.h"

#include <algorithm>
#include <utility>

namespace Kyr::Test {

namespace {

constexpr std::uint32_t kPingCommand = 0;

void AppendWord(std::vector<unsigned char>& bytes, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<unsigned char>(value >> shift));
    }
}

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
    std::vector<unsigned char> reply;
    AppendWord(reply, 12);
    AppendWord(reply, status);
    AppendWord(reply, value);
    reply.insert(reply.end(), body.begin(), body.end());
    return reply;
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
        isPing ? NextAnswer(script_->pings, script_->standingPing)
               : NextAnswer(script_->requests, script_->standingRequest);
    if (answer.code != Kelcomm::kKelcommSuccess) {
        return answer.code;
    }
    if (answer.reply.size() > replyCapacity) {
        return script_->tooLargeCode;
    }
    std::copy(answer.reply.begin(), answer.reply.end(), static_cast<unsigned char*>(reply));
    if (replyLength != nullptr) {
        *replyLength = static_cast<std::uint32_t>(answer.reply.size());
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
        *value = bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
                 std::uint32_t{bytes[3]} << 24;
    }
    return code;
}

void CFakeKelcommClient::Note(const std::string& event) {
    if (script_->journal != nullptr) {
        script_->journal->push_back(script_->name + " " + event);
    }
}

}  // namespace Kyr::Test
