#include "portlayer/linux/MessageHeader.h"

namespace Kyr::PortLayer::Detail {

namespace {

template <typename Word>
CMessageIds ReadIdsOf(const void* message) {
    using Layout = NtApi::PortMessageLayout<Word>;
    return {static_cast<std::uint32_t>(LoadField<Word>(message, Layout::kProcessId)),
            static_cast<std::uint32_t>(LoadField<Word>(message, Layout::kThreadId)),
            LoadField<std::uint32_t>(message, Layout::kMessageId)};
}

template <typename Word>
void WriteIdsOf(void* message, const CMessageIds& ids) {
    using Layout = NtApi::PortMessageLayout<Word>;
    StoreField<Word>(message, Layout::kProcessId, ids.processId);
    StoreField<Word>(message, Layout::kThreadId, ids.threadId);
    StoreField<std::uint32_t>(message, Layout::kMessageId, ids.messageId);
    StoreField<Word>(message, Layout::kViewSize, 0);
}

}  // namespace

std::size_t HeaderSize(EDialect dialect) {
    return dialect == EDialect::Lpc ? LpcLayout::kHeaderSize : AlpcLayout::kHeaderSize;
}

CMessageIds ReadIds(EDialect dialect, const void* message) {
    return dialect == EDialect::Lpc ? ReadIdsOf<NativeWord>(message)
                                    : ReadIdsOf<std::uint32_t>(message);
}

void WriteIds(EDialect dialect, void* message, const CMessageIds& ids) {
    if (dialect == EDialect::Lpc) {
        WriteIdsOf<NativeWord>(message, ids);
    } else {
        WriteIdsOf<std::uint32_t>(message, ids);
    }
}

}  // namespace Kyr::PortLayer::Detail
