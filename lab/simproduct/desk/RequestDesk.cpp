#include "lab/simproduct/desk/RequestDesk.h"

#include <algorithm>

namespace Kyr::Lab::SimProduct {

namespace {

void Apply(const std::vector<Misbehaviour>& faults, Stage stage, PortAnswer& answer) {
    for (const Misbehaviour& one : faults) {
        if (one.fault->stage == stage) {
            one.fault->apply(one, answer);
        }
    }
}

/// The legacy port cannot give more than the client has room for; the product says so in the reply
/// header, and the client asks again with more room.
void FitIntoLegacyReply(const PortRequest& request, PortAnswer& answer) {
    if (request.transport != Transport::kLpc || answer.bytes.size() <= request.replyCapacity) {
        return;
    }
    answer.bytes = EncodeReply(ErrorReply(kStatusBufferTooSmall));
    if (answer.bytes.size() > request.replyCapacity) {
        answer.bytes.clear();
        answer.code = kCodeDoesNotFit;
    }
}

}  // namespace

CRequestDesk::CRequestDesk(const CInnerCommands& commands, CMisbehaviours& misbehaviours,
                           boost::shared_ptr<Base::IClock> clock, LineSink sink, Settings settings)
    : commands_(commands),
      misbehaviours_(misbehaviours),
      clock_(std::move(clock)),
      sink_(std::move(sink)),
      settings_(std::move(settings)) {}

PortAnswer CRequestDesk::Answer(const PortRequest& request) {
    std::uint64_t id = 0;
    {
        const Base::CLock lock(mutex_);
        id = ++requests_;
    }
    CLine told("request");
    told.With("id", id).With("transport", NameOf(request.transport));
    const std::optional<InnerRequest> inner = Read(request, told);
    sink_(told);
    const std::vector<Misbehaviour> faults = misbehaviours_.Take(told);
    for (const Misbehaviour& one : faults) {
        if (one.fault->stage == Stage::kDelay) {
            Delay(std::chrono::milliseconds(*one.number));
        } else if (one.fault->stage == Stage::kDie) {
            settings_.endProduct();
        }
    }
    const bool isRefused = std::any_of(faults.begin(), faults.end(), [](const Misbehaviour& one) {
        return one.fault->stage == Stage::kInstead;
    });
    PortAnswer answer = isRefused ? PortAnswer() : CarryOut(request, inner, faults);
    for (const Stage stage : {Stage::kInstead, Stage::kReply, Stage::kView}) {
        Apply(faults, stage, answer);
    }
    WriteReply(id, request, answer);
    return answer;
}

void CRequestDesk::Stop() {
    const Base::CLock lock(mutex_);
    stopping_ = true;
    stopRequested_.NotifyAll();
}

std::optional<InnerRequest> CRequestDesk::Read(const PortRequest& request, CLine& told) const {
    std::optional<InnerRequest> read;
    std::string problem;
    told.With("command", request.command);
    if (request.command == kRequestCommand) {
        try {
            InnerRequest inner = DecodeInnerRequest(request.payload);
            told.With("inner", inner.command).With("name", commands_.NameOf(inner.command));
            if (inner.command == kXmlCommand) {
                inner.xml = ParseXmlRequest(inner.body);
            }
            if (!inner.xml.function.empty()) {
                told.With("function", inner.xml.function);
            }
            read = std::move(inner);
        } catch (const CMalformed& complaint) {
            problem = complaint.what();
        }
    }
    told.With("length", request.payload.size()).With("capacity", request.replyCapacity);
    if (!problem.empty()) {
        told.With("problem", problem);
    }
    if (settings_.wire) {
        told.With("bytes", ToHex(request.payload));
    }
    return read;
}

PortAnswer CRequestDesk::CarryOut(const PortRequest& request,
                                  const std::optional<InnerRequest>& inner,
                                  const std::vector<Misbehaviour>& faults) {
    PortAnswer answer;
    if (request.command == kPingCommand) {
        return answer;
    }
    if (request.command != kRequestCommand) {
        answer.code = kCodeUnknownCommand;
        return answer;
    }
    std::optional<Bytes> recorded;
    if (settings_.recording) {
        recorded = settings_.recording->AnswerTo(request.payload);
    }
    if (recorded) {
        answer.bytes = std::move(*recorded);
    } else {
        InnerReply reply = ErrorReply(kStatusMalformedRequest);
        try {
            if (inner) {
                reply = commands_.Perform(*inner);
            }
        } catch (const CMalformed& problem) {
            answer.problem = problem.what();
        }
        answer.bytes = EncodeReply(reply);
        Apply(faults, Stage::kPayload, answer);
    }
    FitIntoLegacyReply(request, answer);
    return answer;
}

void CRequestDesk::WriteReply(std::uint64_t id, const PortRequest& request,
                              const PortAnswer& answer) const {
    CLine line("reply");
    line.With("id", id).With("transport", NameOf(request.transport));
    if (answer.delivery != PortAnswer::Delivery::kReply) {
        sink_(line.With("delivery",
                        answer.delivery == PortAnswer::Delivery::kDrop ? "dropped" : "never"));
        return;
    }
    if (!request.wantsReply) {
        sink_(line.With("delivery", "not-wanted"));
        return;
    }
    line.With("code", answer.code);
    if (answer.bytes.size() >= 8) {
        line.With("status", ReadU32(answer.bytes, 4));
    }
    line.With("length", answer.AnnouncedLength());
    if (!answer.problem.empty()) {
        line.With("problem", answer.problem);
    }
    if (settings_.wire) {
        line.With("bytes", ToHex(answer.bytes));
    }
    sink_(line);
}

void CRequestDesk::Delay(std::chrono::milliseconds duration) {
    Base::CLock lock(mutex_);
    // A spurious wake-up shortens the delay, which a fault of our own making can bear.
    if (!stopping_) {
        clock_->WaitFor(stopRequested_, lock, duration);
    }
}

}  // namespace Kyr::Lab::SimProduct
