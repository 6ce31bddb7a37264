// A message as the server's handler of a test gets it, and the attributes of advanced messages.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "portlayer/ServerFunctions.h"
#include "tests/support/product/PortMessages.h"

namespace Kyr::Test {

using namespace PortLayer;

enum class PortKind { kLegacy, kAdvanced };

std::string NameOfKind(const testing::TestParamInfo<PortKind>& kind);

/// What is not the same for both kinds.
struct PortTraits {
    std::size_t headerSize;
    std::size_t longestMessage;
    std::size_t longestOfClients;   // of those here
    NtApi::NtStatus serverGone;     // how a request that waits ends when its server goes
    NtApi::NtStatus noSuchRequest;  // of a reply: the request is answered, or its client has gone
};
const PortTraits& TraitsOf(PortKind kind);
/// What stands behind the header.
Bytes DataOf(PortKind kind, const Bytes& message);

/// An attribute buffer of an advanced message with a view and a context.
class CAttributes {
  public:
    CAttributes();

    NtApi::AlpcMessageAttributes* Get() {
        return reinterpret_cast<NtApi::AlpcMessageAttributes*>(buffer_.data());
    }
    NtApi::AlpcDataViewAttr& View();
    NtApi::AlpcContextAttr& Context();
    bool HasView() { return (Get()->ValidAttributes & NtApi::kAlpcMessageViewAttribute) != 0; }
    Bytes ViewBytes();
    void SetView(const NtApi::AlpcDataViewAttr& view);
    /// Makes a secured view of the bytes, to go along with a message.
    const NtApi::AlpcDataViewAttr& AttachView(Handle port, const Bytes& bytes, std::uint32_t flags);

  private:
    std::vector<std::uint64_t> buffer_;
};

/// Null for none.
NtApi::AlpcMessageAttributes* AttributesOf(CAttributes* attributes);

/// A section of the connection with a view that holds the bytes.
NtApi::AlpcDataViewAttr MakeView(Handle port, const Bytes& bytes);

struct ReceivedCall {
    PortKind kind;
    Handle port;    // the connection port
    Handle client;  // the accepted port of the message's sender
    Bytes& message;
    CAttributes& attributes;

    bool IsRequest() const { return Kind(message.data()) == NtApi::kLpcRequest; }
    Bytes Data() const { return DataOf(kind, message); }
    /// On an advanced port with the release flag, so that the client has nothing to release.
    NtStatus Reply(const Bytes& data);
    /// On an advanced port.
    NtStatus Reply(const Bytes& data, std::uint32_t flags, CAttributes* sent);
    /// Replies with the bytes in a view and drops everything of it.
    NtStatus ReplyWithView(const Bytes& data, const Bytes& viewBytes);
};

}  // namespace Kyr::Test
