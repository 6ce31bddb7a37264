#include "kelcomm/messages/XmlRequest.h"

#include <utility>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

constexpr char kDeclaration[] = R"(<?xml version="1.0" encoding="utf-8"?>)";
constexpr char kFunction[] = R"(<TULK><MESSAGE VERSION="1"><REQUEST FUNCTION=")";
constexpr char kEndOfValue[] = R"(" />)";

}  // namespace

CXmlRequest CXmlRequest::WithData(const std::string& function) {
    return {function, R"("><DATA>)", "</DATA></REQUEST></MESSAGE></TULK>"};
}

CXmlRequest CXmlRequest::WithoutData(const std::string& function) {
    return {function, R"(">)", "</REQUEST></MESSAGE></TULK>"};
}

CXmlRequest::CXmlRequest(const std::string& function, const char* opening, const char* closing)
    : text_(kDeclaration + (kFunction + function) + opening), closing_(closing) {}

CXmlRequest& CXmlRequest::StringNode(const std::string& name, const std::string& value) {
    return Node(name, "STRING", value);
}

// std::to_string takes no digit grouping from the process's locale.
CXmlRequest& CXmlRequest::StringNode(const std::string& name, std::uint64_t number) {
    return Node(name, "STRING", std::to_string(number));
}

CXmlRequest& CXmlRequest::DwordNode(const std::string& name, std::uint32_t number) {
    return Node(name, "DWORD", std::to_string(number));
}

CXmlRequest& CXmlRequest::UserData(const Kyr::Common::Message::CTask& task) {
    return StringNode("USERDATA", task.GetFirstIdentifier().uuid() + ";" +
                                      task.GetSecondIdentifier().uuid() + ";" +
                                      task.GetThirdIdentifier().uuid());
}

CXmlRequest& CXmlRequest::UidElement(const std::string& element, const std::string& uid) {
    text_ += "<" + element + R"( UID=")" + uid + kEndOfValue;
    return *this;
}

std::string CXmlRequest::Close() {
    return std::move(text_) + closing_;
}

CXmlRequest& CXmlRequest::Node(const std::string& name, const char* type,
                               const std::string& value) {
    text_ += R"(<NODE NAME=")" + name + R"(" TYPE=")" + type + R"(" VALUE=")" + value + kEndOfValue;
    return *this;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
