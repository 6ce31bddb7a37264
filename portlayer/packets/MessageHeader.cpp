#include "portlayer/packets/MessageHeader.h"

namespace Kyr::PortLayer::Detail {

namespace {

template <typename Word>
MessageIds ReadIdsOf(const void* message) {
    using Layout = NtApi::PortMessageLayout<Word>;
    return {static_cast<std::uint32_t>(LoadField<Word>(message, Layout::kProcessId)),
            static_cast<std::uint32_t>(LoadField<Word>(message, Layout::kThreadId)),
            LoadField<std::uint32_t>(message, Layout::kMessageId)};
}

template <typename Word>
void WriteIdsOf(void* message, const MessageIds& ids) {
    using Layout = NtApi::PortMessageLayout<Word>;
    StoreField<Word>(message, Layout::kProcessId, ids.processId);
    StoreField<Word>(message, Layout::kThreadId, ids.threadId);
    StoreField<std::uint32_t>(message, Layout::kMessageId, ids.messageId);
    StoreField<Word>(message, Layout::kViewSize, 0);
}

template <typename Word>
constexpr LpcHeaderLayout LayoutOf() {
    using Layout = NtApi::PortMessageLayout<Word>;
    return {sizeof(Word) == 8,    Layout::kHeaderSize,    Layout::kMaxMessage,
            Layout::kDataEntries, Layout::kDataEntrySize, Layout::kDataEntryLength};
}

bool IsWide(PortDialect dialect) {
    return dialect == PortDialect::kLpc && LpcLayout().isWide;
}

}  // namespace

const LpcHeaderLayout& LpcLayout() {
    static const LpcHeaderLayout layout =
        LegacyPortsAreWide() ? LayoutOf<std::uint64_t>() : LayoutOf<std::uint32_t>();
    return layout;
}

MessageIds ReadIds(PortDialect dialect, const void* message) {
    return IsWide(dialect) ? ReadIdsOf<std::uint64_t>(message) : ReadIdsOf<std::uint32_t>(message);
}

void WriteIds(PortDialect dialect, void* message, const MessageIds& ids) {
    if (IsWide(dialect)) {
        WriteIdsOf<std::uint64_t>(message, ids);
    } else {
        WriteIdsOf<std::uint32_t>(message, ids);
    }
}

}  // namespace Kyr::PortLayer::Detail
