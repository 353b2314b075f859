#pragma once
// Runs a table-library operation for the framework: the library's "no man's land" error, raised
// after the table's corruption handler returned, passes through as it is; any other error of the
// library becomes the framework's Rix::RuntimeException with the same text.
#include <utility>

#include "Rix/Exception.h"
#include "Vault/VaultException.h"

namespace RixVault {

template <class F>
decltype(auto) guarded(F&& operation) {
    try {
        return std::forward<F>(operation)();
    } catch (const Vault::NoMansLandException&) {
        throw;
    } catch (const Vault::Exception& e) {
        throw Rix::RuntimeException(e.what());
    }
}

}  // namespace RixVault
