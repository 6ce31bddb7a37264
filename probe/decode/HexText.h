// Hexadecimal text as bytes: digits alone, or a dump with offsets in front and text behind.
//
//   xxd                00000010: 4869 2074 6578 742e  Hi text.
//   hexdump -C         00000010  48 69 20 74 65 78 74 2e  48 69  |Hi text.Hi|
//   od -t x1           0000020 48 69 20 74 65 78 74 2e
//   od -A x -t x1z     000010 48 69 20 74 65 78 74 2e  >Hi text.<
//   protocol analysers 0010   48 69 20 74 65 78 74 2e   Hi text.
//
// Rows that a dump leaves out as repeated ("*") are there; that a row is missing is noticed by the
// offsets.
//
// Threads: any. Errors: std::runtime_error, with the line and a text for the person who gave it.
#pragma once

#include <string>

namespace Kyr::Probe {

std::string FromHexText(const std::string& text);

}  // namespace Kyr::Probe
