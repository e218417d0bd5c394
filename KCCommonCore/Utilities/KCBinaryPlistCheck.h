#pragma once
// A structural check of binary property lists before they reach the parser.
// The parser copies an object for every reference to it, and it trusts the
// trailer's counts and offsets; a few hundred hostile bytes can make it build
// trillions of nodes or copy one large string a million times. This walks the offset table and the object references
// without building anything.
#include <optional>
#include <span>
#include <string>

// What is wrong with the bytes, or nothing when they are safe to parse: every
// offset and reference in range, no object containing itself, nesting at most
// 64 deep and, counting shared objects once per reference, no more nodes and
// payload bytes than twice the input size (plus a little).
std::optional<std::string> KCBinaryPlistProblem(std::span<const uint8_t> bytes);
