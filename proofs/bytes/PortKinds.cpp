// Reply messages of both ports, header included, and the view that a long reply comes in.
#include <algorithm>

#include "kelcomm/client/Buffer.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "proofs/bytes/Kind.h"
#include "proofs/bytes/Wire.h"
#include "tests/support/system/ScriptedNative.h"

namespace Kyr::Proofs::Bytes {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;

constexpr std::uint32_t kCapacity = 64;
constexpr std::uint32_t kUntouched = 0xFFFFFFFF;
constexpr std::uint8_t kEmpty = 0xEE;

/// Codes of the clients have names; the rest are the product's own.
std::string CodeName(std::uint32_t code) {
    switch (code) {
        case 0:
            return "success";
        case 1:
            return "failure";
        case 6:
            return "reply too large";
        default:
            return "product's own code " + std::to_string(code);
    }
}

/// The message that the client sees: `prepared`, with what came written over it.
Input Received(Input prepared, const Input& came) {
    if (came.size() > prepared.size()) {
        prepared.resize(came.size());
    }
    std::copy(came.begin(), came.end(), prepared.begin());
    return prepared;
}

/// `length` bytes from `place` on, as far as they came; what the client finds behind them in its
/// own memory is not known.
std::string BytesThatCame(const Input& came, std::size_t place, std::size_t length) {
    const std::size_t begin = std::min(place, came.size());
    const std::size_t end = std::min(place + length, came.size());
    return std::string(came.begin() + static_cast<std::ptrdiff_t>(begin),
                       came.begin() + static_cast<std::ptrdiff_t>(end));
}

Result Taken(std::uint32_t code, std::uint32_t length, const std::string& bytes) {
    return {CodeName(code),
            length == kUntouched ? "nothing" : std::to_string(length) + ": " + bytes};
}

void CheckSystem(Test::CScriptedNative& native, Finding& finding) {
    // A view that no message asks to be released is the server's affair.
    if (native.CountLive() != native.CountLive("view")) {
        finding.problem = "something is still open";
    }
    for (const std::string& misuse : native.Misuses()) {
        finding.problem = misuse;
    }
}

// ---- the older port

struct LpcLayout {
    std::size_t header;
    std::size_t room;

    /// Of a reply inside the message.
    std::uint32_t Longest() const { return static_cast<std::uint32_t>(room - header - 8); }
    /// Of the caller's buffer.
    std::uint32_t Capacity() const { return Longest() + 8; }
};
constexpr LpcLayout kNarrow = {24, 328};
constexpr LpcLayout kWide = {40, 648};

Result ExpectedOfLpc(const LpcLayout& layout, const Input& came) {
    Input prepared(layout.room);
    const Input lengths = Half(static_cast<std::uint16_t>(layout.room - layout.header)) +
                          Half(static_cast<std::uint16_t>(layout.room));
    std::copy(lengths.begin(), lengths.end(), prepared.begin());
    const Input cut(came.begin(),
                    came.begin() + static_cast<std::ptrdiff_t>(std::min(came.size(), layout.room)));
    const Input message = Received(prepared, cut);
    const std::uint32_t data = HalfAt(message, 0);
    if (data < 8) {
        return Taken(1, kUntouched, "");
    }
    const std::uint32_t code = WordAt(message, layout.header);
    const std::uint32_t length = WordAt(message, layout.header + 4);
    if (length > layout.Capacity() || (length <= layout.Longest() && length > data - 8)) {
        return Taken(1, kUntouched, "");
    }
    // A longer one is in the caller's buffer already.
    return Taken(code, length,
                 length > layout.Longest() ? "" : BytesThatCame(cut, layout.header + 8, length));
}

Finding LookAtLpc(const LpcLayout& layout, const Input& message) {
    Test::CScriptedNative native;
    native.process.isWow64 = layout.header == kWide.header;
    native.ports.defaultAnswer.status = NtApi::kStatusSuccess;
    native.ports.defaultAnswer.reply = message;
    const auto client = Kelcomm::CreateKelcommClientNt(native.GetFunctions());
    const std::uint32_t capacity = layout.Capacity();
    Input reply(capacity + 1, kEmpty);
    std::uint32_t length = kUntouched;
    const std::uint32_t code = Measured(
        [&] { return client->Request(0, 3, "request", 7, reply.data(), capacity, &length, 0); });
    Finding finding;
    if (length != kUntouched && length > capacity) {
        finding.problem = "a length that the buffer does not have";
    } else {
        const std::size_t came =
            std::min(message.size(), layout.room) - std::min(message.size(), layout.header + 8);
        const bool isInMessage = length <= layout.Longest();
        const std::size_t known = isInMessage ? std::min<std::size_t>(length, came) : 0;
        finding = Compare(
            Taken(code, length,
                  std::string(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(known))),
            ExpectedOfLpc(layout, message));
    }
    if (reply.back() != kEmpty) {
        finding.problem = "written behind the buffer";
    }
    client->Close();
    CheckSystem(native, finding);
    return finding;
}

Input LpcMessage(const LpcLayout& layout, std::uint32_t code, std::size_t length,
                 const Input& reply) {
    const auto data = static_cast<std::uint16_t>(8 + reply.size());
    return Half(data) + Half(static_cast<std::uint16_t>(data + layout.header)) + Half(2) + Half(0) +
           Input(layout.header - 8) + Word(code) + Word(static_cast<std::uint32_t>(length)) + reply;
}

// ---- the newer port

constexpr std::size_t kAlpcRoom = 0xFFEF;
constexpr std::uint32_t kLongestInline = 0xFFCF;
constexpr std::uint32_t kSecured = 0x40000;
constexpr std::uint32_t kViewReply = kLongestInline + 1;

/// The view that comes with a reply.
struct View {
    bool isThere = false;
    std::uint32_t flags = kSecured;
    std::size_t size = 0;
};

/// The bytes of the reply, wherever they are; nothing when they are not all there.
std::optional<std::string> ExpectedBytes(const Input& message, const Input& came,
                                         const View& view) {
    const std::uint32_t length = WordAt(message, 28);
    if (length <= kLongestInline) {
        return length <= std::uint32_t{HalfAt(message, 0)} - 8
                   ? std::optional(BytesThatCame(came, 32, length))
                   : std::nullopt;
    }
    if (!view.isThere || (view.flags & kSecured) == 0 || view.size < length) {
        return std::nullopt;
    }
    return std::string(length, 'v');
}

Result ExpectedOfAlpc(const Input& came, const View& view, bool growable) {
    const Input message = Received(Input(32), came);
    const std::uint32_t data = HalfAt(message, 0);
    const std::uint32_t total = HalfAt(message, 2);
    if (data < 8 || total != data + 24 || total > kAlpcRoom) {
        return Taken(1, kUntouched, "");
    }
    if (const std::uint32_t code = WordAt(message, 24); code != 0) {
        return Taken(code, kUntouched, "");
    }
    const auto bytes = ExpectedBytes(message, came, view);
    if (!bytes) {
        return Taken(1, kUntouched, "");
    }
    const std::uint32_t length = WordAt(message, 28);
    if (!growable && length > kCapacity) {
        return Taken(6, kUntouched, "");
    }
    return Taken(0, length, *bytes);
}

Result TakeAlpc(Kelcomm::CKelcommAlpcClient& client, bool growable, std::size_t known,
                Finding& finding) {
    if (growable) {
        Kelcomm::CBuffer buffer;
        const std::uint32_t code =
            Measured([&] { return client.RequestToBuffer(0, 3, "request", 7, &buffer, 0); });
        known = std::min<std::size_t>(known, buffer.GetSize());
        return Taken(code, code == 0 ? buffer.GetSize() : kUntouched,
                     std::string(buffer.GetData(), buffer.GetData() + known));
    }
    Input reply(kCapacity + 1, kEmpty);
    std::uint32_t length = kUntouched;
    const std::uint32_t code = Measured(
        [&] { return client.Request(0, 3, "request", 7, reply.data(), kCapacity, &length, 0); });
    if (reply.back() != kEmpty || (length != kUntouched && length > kCapacity)) {
        finding.problem = "written or told behind the buffer";
        return Taken(code, kUntouched, "");
    }
    known = length == kUntouched ? 0 : std::min<std::size_t>(known, length);
    return Taken(code, length,
                 std::string(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(known)));
}

Finding LookAtAlpc(const Input& message, const View& view, bool growable) {
    Test::CScriptedNative native;
    Test::CScriptedPorts::Answer& answer = native.ports.defaultAnswer;
    answer.status = NtApi::kStatusSuccess;
    answer.reply = message;
    answer.hasView = view.isThere;
    answer.viewFlags = view.flags;
    answer.view.assign(view.size, 'v');
    Kelcomm::CKelcommAlpcClient client(native.GetFunctions());
    client.Initialize(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId, 0);
    // A client that believes a message's own lengths finds bytes of its own behind a cut one.
    const bool isInView = WordAt(Received(Input(32), message), 28) > kLongestInline;
    const std::size_t known = isInView ? view.size : message.size() < 32 ? 0 : message.size() - 32;
    Finding finding;
    const Result got = TakeAlpc(client, growable, known, finding);
    if (finding.problem.empty()) {
        finding = Compare(got, ExpectedOfAlpc(message, view, growable));
    }
    client.Close();
    CheckSystem(native, finding);
    return finding;
}

Input AlpcMessage(std::uint16_t type, std::uint32_t code, std::uint32_t length,
                  const Input& reply) {
    const auto data = static_cast<std::uint16_t>(8 + reply.size());
    return Half(data) + Half(static_cast<std::uint16_t>(data + 24)) + Half(type) + Half(0) +
           Input(16) + Word(code) + Word(length) + reply;
}

std::vector<Kind> AlpcKinds() {
    const Input text = FromText("a reply of 22 bytes...");
    const std::vector<Sample> inlined = {
        {"inside the message", AlpcMessage(2, 0, 22, text)},
        {"to be released", AlpcMessage(0x2002, 0, 22, text)},
        {"as long as the buffer", AlpcMessage(2, 0, kCapacity, Input(kCapacity, 'r'))},
        {"longer than the buffer", AlpcMessage(2, 0, 70, Input(70, 'r'))},
        {"product's code", AlpcMessage(2, 3, 0, {})}};
    const std::vector<Sample> viewed = {
        {"in the view", AlpcMessage(2, 0, kViewReply, {})},
        {"in a view to be released", AlpcMessage(0x2002, 0, kViewReply, {})}};
    const auto look = [](View view, bool growable) {
        return
            [view, growable](const Input& message) { return LookAtAlpc(message, view, growable); };
    };
    const View none;
    const View exact{true, kSecured, kViewReply};
    return {
        {"ALPC reply", true, inlined, look(none, false)},
        {"ALPC reply to grow for", true, inlined, look(none, true)},
        {"ALPC reply with view", true, viewed, look(exact, false)},
        {"ALPC reply with view to grow for", true, viewed, look(exact, true)},
        {"ALPC reply with view too small", true, viewed, look({true, kSecured, 100}, true)},
        {"ALPC reply with view not secured", true, viewed, look({true, 0, kViewReply}, true)},
    };
}

Kind LpcKind(const char* name, const LpcLayout& layout) {
    const std::size_t longest = layout.Longest();
    return {name,
            true,
            {{"small", LpcMessage(layout, 0, 7, FromText("a reply"))},
             {"product's code", LpcMessage(layout, 3, 0, {})},
             {"longest in a message", LpcMessage(layout, 0, longest, Input(longest, 'r'))},
             {"in the caller's buffer", LpcMessage(layout, 0, longest + 1, {})}},
            [layout](const Input& message) { return LookAtLpc(layout, message); }};
}

}  // namespace

std::vector<Kind> PortKinds() {
    std::vector<Kind> kinds = {LpcKind("LPC reply, 32-bit", kNarrow),
                               LpcKind("LPC reply, 64-bit", kWide)};
    for (Kind& kind : AlpcKinds()) {
        kinds.push_back(std::move(kind));
    }
    return kinds;
}

}  // namespace Kyr::Proofs::Bytes
