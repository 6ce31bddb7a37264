// Request payloads as clients send them.
#pragma once

#include "lab/simproduct/requests/PortExchange.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {

inline Bytes XmlPayload(const std::string& xml) {
    using Test::operator+;
    return Test::HexBytes("0C 00 00 00 00 06 00 01 02 00 00 00") + Test::TextBytes(xml);
}

inline Bytes KillPayload(const std::string& pid) {
    return XmlPayload(
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><TULK><MESSAGE VERSION=\"1\">"
        "<REQUEST FUNCTION=\"KILL_PROCESS_BY_PID\"><DATA>"
        "<NODE NAME=\"PID\" TYPE=\"STRING\" VALUE=\"" +
        pid +
        "\" /><NODE NAME=\"USERDATA\" TYPE=\"STRING\" VALUE=\"a;b;c\" />"
        "</DATA></REQUEST></MESSAGE></TULK>");
}

inline PortRequest Request(Transport transport, const Bytes& payload) {
    PortRequest request;
    request.transport = transport;
    request.command = kRequestCommand;
    request.replyCapacity = 65536;
    request.payload = payload;
    return request;
}

}  // namespace Kyr::Lab::SimProduct
