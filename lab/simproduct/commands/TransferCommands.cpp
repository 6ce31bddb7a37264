#include "lab/simproduct/commands/TransferCommands.h"

namespace Kyr::Lab::SimProduct {

namespace {

// Protocol.
constexpr std::uint32_t kImport = 0x6D;
constexpr std::uint32_t kExport = 0x6E;

InnerReply Import(CConfiguration& configuration, const Bytes& body, const LineSink& sink) {
    configuration.Replace({body.begin(), body.end()});
    sink(CLine("did").With("action", "import").With("length", body.size()));
    return {};
}

InnerReply Export(const CConfiguration& configuration, const LineSink& sink) {
    const std::string text = configuration.Text();
    sink(CLine("did").With("action", "export").With("length", text.size()));
    InnerReply reply;
    reply.payload.assign(text.begin(), text.end());
    return reply;
}

}  // namespace

InnerCommandGroup TransferCommands(CConfiguration& configuration, LineSink sink) {
    return {{kImport, "import",
             [&configuration, sink](const InnerAction& action) {
                 return Import(configuration, action.inner.body, sink);
             }},
            {kExport, "export",
             [&configuration, sink](const InnerAction&) { return Export(configuration, sink); }}};
}

}  // namespace Kyr::Lab::SimProduct
