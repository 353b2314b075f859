#pragma once
// The table library's errors. Exception is its runtime error; NoMansLandException is what an
// operation raises after it found the table corrupt and the table's corruption handler returned;
// FullException refuses a new key when every entry is taken.
#include <stdexcept>
#include <string>

namespace Vault {

class Exception : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class NoMansLandException : public Exception {
  public:
    using Exception::Exception;
};

class FullException : public Exception {
  public:
    using Exception::Exception;
};

}  // namespace Vault
