// What the tasks about the product as a whole cost from the reply's bytes to the published log: the
// protection status beside the XML parse alone, chains of task outcomes, the import of a policy.
//
// The channel and the host do nothing; log lines are built and dropped.
#include <benchmark/benchmark.h>
#include <sstream>
#include <string>
#include <vector>
#include <zlib.h>

#include <boost/make_shared.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "bench/BenchMain.h"
#include "connector/tasks/GetStatusTask.h"
#include "connector/tasks/GetTaskStatusTask.h"
#include "connector/tasks/ImportConfigurationTask.h"
#include "host/message/ApplyPolicy.h"
#include "host/proto/common.pb.h"
#include "host/proto/policy.pb.h"
#include "kelcomm/messages/KelcommMessageFactory.h"
#include "logs/OvAgentRequest.h"
#include "tests/support/host/FixedInstance.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/RecordingPublisher.h"
#include "tests/support/product/FakeChannel.h"

namespace {

using namespace Kyr::Connectors::Common;
namespace Test = Kyr::Test;
using Bytes = std::vector<unsigned char>;

constexpr std::uint64_t kProduct = 0x07100000000005E2;

struct Setting {
    Setting() {
        logger->Capture().SetRecording(false);
        publisher->recording = false;
        channel->recording = false;
        channel->product = [this](const Bytes&) {
            return repliesLeft-- > 0 ? reply : Bytes{12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        };
    }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

    /// Answers that many requests, the others get no payload.
    Bytes reply;
    std::int64_t repliesLeft = 0;
    boost::shared_ptr<Test::CCapturingLogger> logger = boost::make_shared<Test::CCapturingLogger>();
    boost::shared_ptr<Test::CRecordingPublisher> publisher =
        boost::make_shared<Test::CRecordingPublisher>();
    boost::shared_ptr<Test::CFixedInstance> instance = boost::make_shared<Test::CFixedInstance>();
    boost::shared_ptr<IChannelMessageFactory> factory =
        boost::make_shared<Kelcomm::Messages::CKelcommMessageFactory>();
    boost::shared_ptr<Test::CFakeChannel> channel = boost::make_shared<Test::CFakeChannel>();
};

boost::shared_ptr<Kyr::Common::Kernel::IMessage> Trigger(std::int32_t requestType) {
    const auto trigger =
        boost::make_shared<Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest>();
    trigger->SetRequestType(requestType);
    return trigger;
}

Bytes ReplyWith(const std::string& payload) {
    Bytes reply = {12, 0, 0, 0, 0, 0, 0, 0};
    for (int byte = 0; byte < 4; ++byte) {
        reply.push_back(static_cast<unsigned char>(payload.size() >> (8 * byte)));
    }
    reply.insert(reply.end(), payload.begin(), payload.end());
    return reply;
}

std::string StatusXml(std::int64_t records) {
    std::string xml = R"(<?xml version="1.0" encoding="utf-8"?><TULK><SECTION><STATUS>)";
    for (std::int64_t count = 0; count < records; ++count) {
        xml += R"(<RECORD STATUS="1" CATEGORY_RES_ID="71000000000022C")"
               R"( STATUS_RES_ID="7100000000002FF" DESCRIPTION_RES_ID="7100000000003FF"/>)";
    }
    return xml + "</STATUS></SECTION></TULK>";
}

/// The floor: the tree that the parser makes, and nothing of it read.
void XmlParseAlone(benchmark::State& state) {
    const std::string xml = StatusXml(state.range(0));
    for (auto _ : state) {
        std::istringstream stream(xml);
        boost::property_tree::ptree tree;
        boost::property_tree::read_xml(stream, tree);
        benchmark::DoNotOptimize(tree.size());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(XmlParseAlone)->Arg(1)->Arg(100)->Arg(10000);

void StatusToPublishedLog(benchmark::State& state) {
    Setting with;
    with.reply = ReplyWith(StatusXml(state.range(0)));
    Tasks::CGetStatusTask task(Kyr::Common::Kernel::MessageType::OvAgentRequest, with.logger,
                               with.publisher, with.instance, with.factory, with.channel, kProduct,
                               17);
    const auto trigger = Trigger(0);
    for (auto _ : state) {
        with.repliesLeft = 1;
        task.Execute(trigger);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(StatusToPublishedLog)->Arg(1)->Arg(100)->Arg(10000);

void ChainOfTaskOutcomes(benchmark::State& state) {
    Setting with;
    std::string payload("\0\0\0\0\1\0\0\0\x0C\0\0\0", 12);
    for (const char character : std::string("11111111-1111-1111-1111-111111111111;"
                                            "22222222-2222-2222-2222-222222222222;"
                                            "33333333-3333-3333-3333-333333333333")) {
        payload += {character, '\0'};
    }
    with.reply = ReplyWith(payload);
    const auto task = boost::make_shared<Tasks::CGetTaskStatusTask>(
        Kyr::Common::Kernel::MessageType::OvAgentRequest, with.logger, with.publisher,
        with.instance, with.factory, with.channel, kProduct);
    const auto trigger = Trigger(2);
    for (auto _ : state) {
        with.repliesLeft = state.range(0);
        task->Execute(trigger);
    }
    with.channel->SetBufferReceiver({});
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ChainOfTaskOutcomes)->Arg(1)->Arg(100)->Arg(1000);

/// A text that compresses about as well as policies do: words in changing order.
std::string PolicyContent(std::int64_t size) {
    static const char* const kWords[] = {"<node name=\"", "value",   "\" type=\"", "scanner",
                                         "exclusion",     "\" />\n", "1",          "update"};
    Kyr::Common::DataDefinition::Policy::PolicyData policy;
    std::string& text = *policy.mutable_policy_text();
    std::uint32_t random = 1;
    while (static_cast<std::int64_t>(text.size()) < size) {
        random = random * 1664525 + 1013904223;
        text += kWords[random >> 29];
    }
    text.resize(static_cast<std::size_t>(size));
    return policy.SerializeAsString();
}

std::string Compressed(const std::string& content) {
    uLongf length = compressBound(static_cast<uLong>(content.size()));
    std::string bytes(length, '\0');
    compress(reinterpret_cast<Bytef*>(bytes.data()), &length,
             reinterpret_cast<const Bytef*>(content.data()), static_cast<uLong>(content.size()));
    bytes.resize(length);
    return bytes;
}

/// The floor: zlib alone, into memory that is there.
void InflateAlone(benchmark::State& state) {
    std::string content = PolicyContent(state.range(0));
    const std::string compressed = Compressed(content);
    for (auto _ : state) {
        auto length = static_cast<uLongf>(content.size());
        uncompress(reinterpret_cast<Bytef*>(content.data()), &length,
                   reinterpret_cast<const Bytef*>(compressed.data()),
                   static_cast<uLong>(compressed.size()));
        benchmark::DoNotOptimize(length);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(InflateAlone)->Arg(1 << 20);

void ImportPolicy(benchmark::State& state) {
    Setting with;
    const std::string content = PolicyContent(state.range(0));
    Kyr::Common::DataDefinition::Common::CompressedBlob blob;
    blob.set_uncompressed_length(content.size());
    blob.set_compressed_data(Compressed(content));
    const auto message = boost::make_shared<Kyr::Common::Message::Policies::CApplyPolicy>();
    message->SetPolicyBlob(blob.SerializeAsString());
    Tasks::CImportConfigurationTask task(with.logger, with.factory, with.channel);
    for (auto _ : state) {
        task.Execute(message);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ImportPolicy)->Arg(1 << 20);

}  // namespace

int main(int argc, char** argv) {
    return Kyr::Bench::RunBenchmarks(argc, argv);
}
