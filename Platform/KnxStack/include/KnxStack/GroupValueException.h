#pragma once

#include <stdexcept>
#include <string>

namespace KnxStack {

// Raised by BinaryData and GroupValue when an access does not fit the value's size or a number
// cannot be encoded in the requested format.
class GroupValueException : public std::runtime_error {
public:
    explicit GroupValueException(const std::string& what) : std::runtime_error(what) {}
};

} // namespace KnxStack
