#include "probe/conform/PortPoints.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/LittleEndian.h"
#include "kelcomm/client/PayloadHeader.h"
#include "kelcomm/messages/CommandHeader.h"
#include "probe/ProductNumbers.h"
#include "probe/session/PortClient.h"
#include "probe/session/TimeLimit.h"

namespace Kyr::Probe {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;
namespace Messages = Kelcomm::Messages;

using Payload = std::vector<unsigned char>;

// Of our own choice: nobody has these, and this is more than a message carries.
constexpr std::uint32_t kNoPortCommand = 0x7FFFFFF1;
constexpr auto kNoCommand = static_cast<Messages::Command>(kNoPortCommand);
constexpr std::size_t kLongBody = 200000;
constexpr std::uint32_t kRoom = 0x10000;

struct Answer {
    std::uint32_t code = 0;
    Payload bytes;
};

std::uint32_t Word(const Payload& bytes, std::size_t offset) {
    return Base::LoadLittleEndian<std::uint32_t>(bytes.data() + offset);
}

/// What is wrong with the header of a reply; empty when nothing is.
std::string HeaderProblem(const Payload& reply) {
    if (reply.size() < Kelcomm::kPayloadHeaderSize) {
        return "the reply has " + std::to_string(reply.size()) + " bytes; its header alone has " +
               std::to_string(Kelcomm::kPayloadHeaderSize);
    }
    if (Word(reply, 0) != Kelcomm::kPayloadHeaderSize) {
        return "the first word of the reply is " + std::to_string(Word(reply, 0)) + ", not " +
               std::to_string(Kelcomm::kPayloadHeaderSize);
    }
    if (Word(reply, 8) != reply.size() - Kelcomm::kPayloadHeaderSize) {
        return "the reply tells a body of " + std::to_string(Word(reply, 8)) + " bytes, and has " +
               std::to_string(reply.size() - Kelcomm::kPayloadHeaderSize);
    }
    return "";
}

class CPortPoints {
  public:
    CPortPoints(Port port, const SessionOptions& options, Checks& points)
        : port_(port), options_(options), points_(points) {}

    void TryAll() {
        TryRefusedPortCommand();
        TryRequest("request", kRoom);
        TryTooSmall();
        TryRequest("request after one that did not fit", kRoom);
        TryRefusal("unknown request", Messages::MakeRequest(kNoCommand, {}));
        TryRefusal("request of 200000 bytes",
                   Messages::MakeRequest(kNoCommand, std::string(kLongBody, ' ')));
        TryRefusal("request that ends in its header", {12, 0, 0, 0});
        TryRefusal("request without a byte", {});
        TryOneWay();
        TryPing("ping after all that");
    }

  private:
    void Tell(const std::string& point, const std::string& problem, const std::string& fine) {
        points_.push_back({problem.empty() ? Verdict::kFine : Verdict::kWrong,
                           std::string(NameOf(port_)) + ": " + point,
                           problem.empty() ? fine : problem, ""});
    }

    /// Nothing when there was no reply, or not in time, which is told.
    std::optional<Answer> Exchange(const std::string& point, std::uint32_t command, Payload payload,
                                   std::uint32_t room, std::uint32_t flags = 0) {
        if (!client_) {
            client_ = MakePortClient(port_, WitnessedNativeFunctions(options_.portLayer));
        }
        const auto answer = std::make_shared<Answer>();
        // What is left behind keeps all that it uses.
        const auto exchange = [answer, command, payload = std::move(payload), room, flags,
                               client = client_] {
            answer->bytes.resize(room);
            std::uint32_t length = 0;
            answer->code = client->Request(
                flags, command, payload.data(), static_cast<std::uint32_t>(payload.size()),
                answer->bytes.data(), room,
                (flags & Kelcomm::kKelcommOneWay) != 0 ? nullptr : &length, 0);
            answer->bytes.resize(answer->code == 0 ? length : 0);
        };
        if (!EndsWithin(options_.timeLimit, exchange, options_.progress)) {
            client_.reset();
            Tell(point, "no reply within " + std::to_string(options_.timeLimit.count()) + " ms",
                 "");
            return std::nullopt;
        }
        if (TraceOf(port_).HasFailed()) {
            client_.reset();
            Tell(point, "the connection breaks without an answer", "");
            return std::nullopt;
        }
        return *answer;
    }

    void TryRefusedPortCommand() {
        const std::string point = "unknown port command";
        if (const auto answer = Exchange(point, kNoPortCommand, {}, kRoom)) {
            Tell(point, answer->code == 0 ? "taken, as if it were known" : "",
                 "refused with code " + std::to_string(answer->code));
        }
    }

    void TryRequest(const std::string& point, std::uint32_t room) {
        const auto answer = Exchange(point, kRequestCommand,
                                     Messages::MakeRequest(Messages::Command::GetStatus, {}), room);
        if (!answer) {
            return;
        }
        std::string problem = answer->code != 0
                                  ? "the port answers with code " + std::to_string(answer->code)
                                  : HeaderProblem(answer->bytes);
        if (problem.empty() && Word(answer->bytes, 4) != 0) {
            problem =
                "a request for the status has status " + std::to_string(Word(answer->bytes, 4));
        }
        Tell(point, problem, std::to_string(answer->bytes.size()) + " bytes, header as it must be");
    }

    /// Room for a header alone: the client must learn that it was too little.
    void TryTooSmall() {
        const std::string point = "reply that does not fit";
        const auto answer = Exchange(point, kRequestCommand,
                                     Messages::MakeRequest(Messages::Command::GetStatus, {}),
                                     Kelcomm::kPayloadHeaderSize);
        if (!answer) {
            return;
        }
        const bool saidByPort = answer->code != 0;
        const bool saidByReply = !saidByPort && HeaderProblem(answer->bytes).empty() &&
                                 Word(answer->bytes, 4) == kReplyTooSmallStatus;
        Tell(point, saidByPort || saidByReply ? "" : "cut short without a word",
             saidByPort ? "code " + std::to_string(answer->code) : "status 5");
    }

    /// What no product can carry out is refused, by code or by status, and not passed over.
    void TryRefusal(const std::string& point, Payload payload) {
        const auto answer = Exchange(point, kRequestCommand, std::move(payload), kRoom);
        if (!answer) {
            return;
        }
        if (answer->code != 0) {
            Tell(point, "", "refused with code " + std::to_string(answer->code));
            return;
        }
        std::string problem = HeaderProblem(answer->bytes);
        if (problem.empty() && Word(answer->bytes, 4) == 0) {
            problem = "taken with status 0";
        }
        Tell(
            point, problem,
            problem.empty() ? "refused with status " + std::to_string(Word(answer->bytes, 4)) : "");
    }

    void TryOneWay() {
        const std::string point = "request that wants no reply";
        if (const auto answer =
                Exchange(point, kRequestCommand, Messages::MakeRequest(kNoCommand, {}), 0,
                         Kelcomm::kKelcommOneWay)) {
            Tell(point,
                 answer->code == 0 ? "" : "it cannot be sent: code " + std::to_string(answer->code),
                 "sent");
        }
    }

    void TryPing(const std::string& point) {
        if (const auto answer = Exchange(point, kPingCommand, {}, kRoom)) {
            Tell(point,
                 answer->code != 0 ? "answered with code " + std::to_string(answer->code)
                 : answer->bytes.empty()
                     ? ""
                     : "answered with " + std::to_string(answer->bytes.size()) + " bytes, not none",
                 "answered with code 0 and nothing else");
        }
    }

    const Port port_;
    const SessionOptions& options_;
    Checks& points_;
    std::shared_ptr<Kelcomm::IKelcommClient> client_;
};

}  // namespace

void TryPort(Port port, const SessionOptions& options, Checks& points) {
    CPortPoints(port, options, points).TryAll();
}

}  // namespace Kyr::Probe
