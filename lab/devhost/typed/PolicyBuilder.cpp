#include "lab/devhost/typed/PolicyBuilder.h"

#include <Poco/DeflatingStream.h>
#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include "host/message/ApplyPolicy.h"
#include "host/proto/common.pb.h"
#include "host/proto/policy.pb.h"

namespace Kyr::Lab::DevHost {

namespace {

enum class Broken { kBlob, kStream, kPolicy, kNothing };

/// Protobuf and zlib alike stop at these bytes.
constexpr char kNonsense[] = "\xFF\xFF\xFF";

Broken TakeBroken(CCommandWords& words) {
    const auto part = words.TakeValue("broken");
    return part ? static_cast<Broken>(PlaceOf(*part, {"blob", "stream", "policy"}, "broken part"))
                : Broken::kNothing;
}

/// A policy's length at most (our choice): more than any message carries, and no computer's memory.
constexpr std::size_t kLongest = std::size_t{64} * 1024 * 1024;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    std::string text(kLongest + 1, '\0');  // some files have no end
    file.read(&text[0], static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

std::string TakeText(CCommandWords& words) {
    const auto file = words.TakeValue("file");
    const auto text = words.TakeValue("text");
    if (file.has_value() == text.has_value()) {
        throw std::invalid_argument("a file or a text is wanted");
    }
    return text ? *text : ReadFile(*file);
}

/// `text` that often, one behind the other.
std::string Repeated(const std::string& text, std::uint64_t times) {
    if (times > kLongest / std::max<std::size_t>(text.size(), 1)) {
        throw std::invalid_argument("a policy has at most 67108864 bytes");
    }
    std::string all;
    for (std::uint64_t time = 0; time < times; ++time) {
        all += text;
    }
    return all;
}

std::string MakePolicy(const std::string& text) {
    Common::DataDefinition::Policy::PolicyData policy;
    policy.set_policy_text(text);
    return policy.SerializeAsString();
}

std::string Compress(const std::string& plain) {
    std::ostringstream compressed;
    Poco::DeflatingOutputStream deflating(compressed, Poco::DeflatingStreamBuf::STREAM_ZLIB);
    deflating << plain;
    deflating.close();
    if (!deflating || !compressed) {
        throw std::runtime_error("the policy cannot be compressed");
    }
    return compressed.str();
}

std::string MakeBlob(const std::string& plain, std::optional<std::uint64_t> stated, Broken broken) {
    Common::DataDefinition::Common::CompressedBlob blob;
    blob.set_uncompressed_length(stated.value_or(plain.size()));
    blob.set_compressed_data(broken == Broken::kStream ? kNonsense : Compress(plain));
    return broken == Broken::kBlob ? kNonsense : blob.SerializeAsString();
}

}  // namespace

boost::shared_ptr<Common::Kernel::IMessage> BuildPolicy(CCommandWords& words) {
    const Broken broken = TakeBroken(words);
    const auto stated = words.TakeNumber("length");
    const std::uint64_t times = words.TakeNumber("repeat").value_or(1);
    const std::string text = Repeated(TakeText(words), times);
    words.Finish();
    auto message = boost::make_shared<Common::Message::Policies::CApplyPolicy>();
    message->SetPolicyBlob(
        MakeBlob(broken == Broken::kPolicy ? kNonsense : MakePolicy(text), stated, broken));
    message->SetReadOnly();
    return message;
}

}  // namespace Kyr::Lab::DevHost
