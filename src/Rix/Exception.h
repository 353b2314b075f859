#pragma once
// The framework's exceptions. Bad data raises RangeException with a message that names what was
// wrong; misuse of the generic attribute interface raises the others.
#include <stdexcept>
#include <string>

namespace Rix {

class Exception : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class RangeException : public Exception {
  public:
    using Exception::Exception;
};

// Writing an attribute that has no setter (a constant or derived one, or an action).
class UnsupportedOperationException : public Exception {
  public:
    explicit UnsupportedOperationException(const std::string& attribute)
        : Exception("operation not supported on attribute " + attribute), attribute_(attribute) {}
    const std::string& attribute() const noexcept { return attribute_; }

  private:
    std::string attribute_;
};

class ConstInstanceException : public Exception {
  public:
    ConstInstanceException() : Exception("attempting to modify a const instance") {}
};

class BadIndexException : public Exception {
  public:
    explicit BadIndexException(const std::string& what) : Exception("bad index: " + what) {}
};

class NullPointerException : public Exception {
  public:
    NullPointerException() : Exception("null ValidPtr") {}
};

// A table, a file or another resource outside the process failed.
class RuntimeException : public Exception {
  public:
    using Exception::Exception;
};

}  // namespace Rix
