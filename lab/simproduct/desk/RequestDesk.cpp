#include "lab/simproduct/desk/RequestDesk.h"

#include <algorithm>

#include <boost/thread/lock_guard.hpp>

#include "lab/simproduct/commands/RecordBatches.h"
#include "lab/simproduct/ports/PortMessages.h"

namespace Kyr::Lab::SimProduct {

struct CRequestDesk::ReadRequest {
    RequestFacts facts;
    std::optional<InnerAction> action;  // nothing: a ping, an unknown command, or unreadable
    std::string problem;                // why the request is unreadable
};

namespace {

const Misbehaviour* Find(const std::vector<Misbehaviour>& faults, Fault fault) {
    for (const Misbehaviour& one : faults) {
        if (one.fault == fault) {
            return &one;
        }
    }
    return nullptr;
}

/// The fault's number. REQUIRES: the kind of fault has one.
std::optional<std::uint32_t> NumberOf(const std::vector<Misbehaviour>& faults, Fault fault) {
    const Misbehaviour* const found = Find(faults, fault);
    return found == nullptr ? std::nullopt : found->number;
}

/// What a refused request gets instead of being carried out.
std::optional<PortAnswer> Refusal(const std::vector<Misbehaviour>& faults) {
    PortAnswer answer;
    const auto code = NumberOf(faults, Fault::kCode);
    const auto status = NumberOf(faults, Fault::kStatus);
    if (Find(faults, Fault::kDrop) != nullptr) {
        answer.delivery = PortAnswer::Delivery::kDrop;
    } else if (Find(faults, Fault::kHang) != nullptr) {
        answer.delivery = PortAnswer::Delivery::kHang;
    } else if (code) {
        answer.code = *code;
    } else if (status) {
        answer.bytes = EncodeReply(ErrorReply(*status));
    } else {
        return std::nullopt;
    }
    return answer;
}

void DamagePayload(const std::vector<Misbehaviour>& faults, InnerReply& reply) {
    if (const auto code = NumberOf(faults, Fault::kResultCode)) {
        reply.payload = EncodeResultCode(*code);
    }
    if (Find(faults, Fault::kBadPayload) != nullptr) {
        reply.payload = {0x07};  // a field number that may not be, of a type that is none
    }
    if (Find(faults, Fault::kNoPayload) != nullptr) {
        reply.payload.clear();
    }
}

void DamageBytes(const std::vector<Misbehaviour>& faults, PortAnswer& answer) {
    const auto overwrite = [&](std::size_t offset, std::optional<std::uint32_t> value) {
        if (value && answer.bytes.size() >= offset + 4) {
            WriteU32(answer.bytes, offset, *value);
        }
    };
    if (const Misbehaviour* const raw = Find(faults, Fault::kRaw)) {
        answer.bytes = raw->bytes;
    }
    overwrite(0, NumberOf(faults, Fault::kHeaderSize));
    overwrite(8, NumberOf(faults, Fault::kValue));
    if (const auto size = NumberOf(faults, Fault::kOversized)) {
        answer.bytes.resize(*size);
    }
    if (const auto size = NumberOf(faults, Fault::kShort)) {
        answer.bytes.resize(std::min<std::size_t>(*size, answer.bytes.size()));
    }
}

void DamageDelivery(const std::vector<Misbehaviour>& faults, PortAnswer& answer) {
    if (const Misbehaviour* const fault = Find(faults, Fault::kBadLength)) {
        answer.announcedLength = fault->number.value_or(answer.AnnouncedLength() + 1);
    }
    answer.withoutView = Find(faults, Fault::kViewMissing) != nullptr;
    answer.smallView = Find(faults, Fault::kViewSmall) != nullptr;
    if ((answer.withoutView || answer.smallView) &&
        answer.AnnouncedLength() <= kAlpcMaxInlineReply) {
        answer.bytes.resize(kAlpcMaxInlineReply + 1);
        answer.announcedLength = std::nullopt;
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
    const ReadRequest read = Read(request);
    WriteRequest(id, request, read);
    const std::vector<Misbehaviour> faults = misbehaviours_.Take(read.facts);
    if (const auto milliseconds = NumberOf(faults, Fault::kDelay)) {
        Delay(std::chrono::milliseconds(*milliseconds));
    }
    if (Find(faults, Fault::kDie) != nullptr) {
        settings_.endProduct();
    }
    const std::optional<PortAnswer> refusal = Refusal(faults);
    PortAnswer answer = refusal ? *refusal : CarryOut(request, read, faults);
    DamageBytes(faults, answer);
    DamageDelivery(faults, answer);
    WriteReply(id, request, answer);
    return answer;
}

void CRequestDesk::Stop() {
    const Base::CLock lock(mutex_);
    stopping_ = true;
    stopRequested_.NotifyAll();
}

CRequestDesk::ReadRequest CRequestDesk::Read(const PortRequest& request) const {
    ReadRequest read;
    read.facts.transport = request.transport;
    read.facts.command = request.command;
    if (request.command != kRequestCommand) {
        return read;
    }
    try {
        InnerAction action;
        action.inner = DecodeInnerRequest(request.payload);
        read.facts.inner = action.inner.command;
        if (action.inner.command == kXmlCommand) {
            action.xml = ParseXmlRequest(action.inner.body);
            read.facts.function = action.xml.function;
        }
        read.action = std::move(action);
    } catch (const CMalformed& problem) {
        read.problem = problem.what();
    }
    return read;
}

PortAnswer CRequestDesk::CarryOut(const PortRequest& request, const ReadRequest& read,
                                  const std::vector<Misbehaviour>& faults) {
    PortAnswer answer;
    if (request.command == kPingCommand) {
        return answer;
    }
    if (request.command != kRequestCommand) {
        answer.code = kCodeUnknownCommand;
        return answer;
    }
    if (settings_.recording) {
        if (std::optional<Bytes> recorded = settings_.recording->AnswerTo(request.payload)) {
            answer.bytes = std::move(*recorded);
            FitIntoLegacyReply(request, answer);
            return answer;
        }
    }
    InnerReply reply = ErrorReply(kStatusMalformedRequest);
    if (read.action) {
        try {
            reply = commands_.Perform(*read.action);
        } catch (const CMalformed& problem) {
            answer.problem = problem.what();
        }
    }
    DamagePayload(faults, reply);
    answer.bytes = EncodeReply(reply);
    FitIntoLegacyReply(request, answer);
    return answer;
}

void CRequestDesk::WriteRequest(std::uint64_t id, const PortRequest& request,
                                const ReadRequest& read) const {
    CLine line("request");
    line.With("id", id).With("transport", NameOf(request.transport));
    line.With("command", request.command);
    if (read.facts.inner) {
        line.With("inner", *read.facts.inner).With("name", commands_.NameOf(*read.facts.inner));
    }
    if (!read.facts.function.empty()) {
        line.With("function", read.facts.function);
    }
    line.With("length", request.payload.size()).With("capacity", request.replyCapacity);
    if (!read.problem.empty()) {
        line.With("problem", read.problem);
    }
    if (settings_.wire) {
        line.With("bytes", ToHex(request.payload));
    }
    sink_(line);
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
