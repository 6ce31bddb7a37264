// Builds the text of an XML request, piece by piece, and its bytes.
//
//   const auto request = CXmlRequest::WithData("RESTART_FDE").UserData(task).Close();
//   log << request;  channel->Send(MakeRequest(Command::Xml, request));
//
// Nothing stands between the pieces, and values are written as they are: the product reads them
// without resolving escapes, so a value must not hold a double quote, "<" or "&".
// Threads: a builder belongs to one thread.
#pragma once

#include <cstdint>
#include <string>

#include "host/message/Task.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CXmlRequest {
  public:
    /// A request with nodes.
    static CXmlRequest WithData(const std::string& function);
    /// A request without a DATA element: it has no nodes, but may have elements.
    static CXmlRequest WithoutData(const std::string& function);

    // Nodes. REQUIRES: the request was opened WithData.

    /// A node of the type STRING.
    CXmlRequest& StringNode(const std::string& name, const std::string& value);
    /// A node of the type STRING whose value is `number` in decimal.
    CXmlRequest& StringNode(const std::string& name, std::uint64_t number);
    /// A node of the type DWORD whose value is `number` in decimal.
    CXmlRequest& DwordNode(const std::string& name, std::uint32_t number);
    /// The node by which the product tells later whose task it carried out: the three identifiers
    /// of `task` in their order.
    CXmlRequest& UserData(const Kyr::Common::Message::CTask& task);

    /// An element directly in the request. REQUIRES: the request was opened WithoutData.
    CXmlRequest& UidElement(const std::string& element, const std::string& uid);

    /// The whole text; the builder is used up.
    std::string Close();

  private:
    CXmlRequest(const std::string& function, const char* opening, const char* closing);
    CXmlRequest& Node(const std::string& name, const char* type, const std::string& value);

    std::string text_;
    const char* closing_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
