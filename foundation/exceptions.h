// Exceptions raised for programming errors; each carries the fixed text that names the mistake
// ("Already recording", "NULL format description").
#pragma once

#include <stdexcept>
#include <string>

namespace orvane::foundation {

// A caller passed an argument the operation cannot take.
class InvalidArgumentException : public std::invalid_argument {
  public:
    explicit InvalidArgumentException(const std::string& reason) : std::invalid_argument(reason) {}
};

// An operation was called in a state that forbids it: a status machine was driven wrongly.
class InternalInconsistencyException : public std::logic_error {
  public:
    explicit InternalInconsistencyException(const std::string& reason) : std::logic_error(reason) {}
};

}  // namespace orvane::foundation
