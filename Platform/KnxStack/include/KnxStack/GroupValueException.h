#pragma once

#include "KnxStack/Export.h"

#include <stdexcept>
#include <string>

namespace KnxStack {

// Raised by BinaryData and GroupValue when an access does not fit the value's size or a number
// cannot be encoded in the requested format.
class KNXSTACK_EXPORT GroupValueException : public std::runtime_error {
public:
    explicit GroupValueException(const std::string& what) : std::runtime_error(what) {}
    // Out of line, so the type's identity lives in this library alone and a host can catch it.
    ~GroupValueException() override;
};

} // namespace KnxStack
