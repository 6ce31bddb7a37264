#include "probe/session/NotReached.h"

namespace Kyr::Probe {

namespace {

struct CauseWords {
    const char* name;
    const char* text;
};

CauseWords WordsOf(Cause cause) {
    switch (cause) {
        case Cause::kNotRegistered:
            return {"not-registered", "not registered"};
        case Cause::kPortAbsent:
            return {"port-absent", "port absent"};
        case Cause::kOtherUser:
            return {"other-user", "of another user"};
        case Cause::kRefused:
            return {"refused", "refused"};
        case Cause::kNotAnswering:
            return {"not-answering", "not answering"};
        case Cause::kNoPorts:
            return {"no-ports", "no ports in this system"};
    }
    return {"unknown", "unknown"};
}

std::string InWords(std::chrono::milliseconds time) {
    return time.count() % 1000 == 0 ? std::to_string(time.count() / 1000) + " s"
                                    : std::to_string(time.count()) + " ms";
}

}  // namespace

const char* NameOf(Cause cause) {
    return WordsOf(cause).name;
}

CNotReached::CNotReached(Cause cause, const std::string& reason)
    : std::runtime_error(std::string("product not reached: ") + WordsOf(cause).text + ": " +
                         reason),
      cause_(cause),
      reason_(reason) {}

CNoReplyInTime::CNoReplyInTime(std::chrono::milliseconds limit)
    : CNotReached(Cause::kNotAnswering, "no reply within " + InWords(limit)) {}

}  // namespace Kyr::Probe
