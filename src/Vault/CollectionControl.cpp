#include "Vault/CollectionControl.h"

#include <utility>

#include "Rix/Format.h"
#include "Vault/Layout.h"
#include "Vault/Segment.h"
#include "Vault/VaultException.h"

namespace Vault {

const char* mountStateName(MountState s) {
    switch (s) {
        case MountState::unmounted:
            return "unmounted";
        case MountState::created:
            return "created";
        case MountState::recovered:
            return "recovered";
        case MountState::failed:
            return "failed";
    }
    return "unknown";
}

CollectionControl::CollectionControl(std::string name, U32 capacity, Permissions permissions)
    : name_(std::move(name)), capacity_(capacity), permissions_(permissions) {
    bool ok = !name_.empty() && name_.size() <= 200;
    for (char c : name_) {
        const bool alnum =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        ok = ok && (alnum || c == '.' || c == '_' || c == '-');
    }
    if (!ok) throw Exception("bad table name '" + name_ + "'");
    if (capacity == 0 || capacity > maxCapacity) {
        throw Exception(Rix::format("table %s: capacity %u is outside 1..%u", name_.c_str(),
                                    capacity, maxCapacity));
    }
}

CollectionControl::~CollectionControl() {
    if (table_) table_->controlGone();
}

std::string CollectionControl::description() const {
    std::string s =
        Rix::format("table %s: %s, %u of %u entries, mode %04o", name_.c_str(),
                    mountStateName(state_), size(), capacity_, static_cast<unsigned>(mode()));
    if (repaired_) s += Rix::format(", %u entries repaired", repaired_);
    if (!error_.empty()) s += ", error: " + error_;
    return s;
}

bool CollectionControl::remove(const std::string& name) { return Segment::unlink("/" + name); }

void CollectionControl::mounted(MountedTable* table, MountState state, U32 repaired) {
    table_ = table;
    state_ = state;
    repaired_ = repaired;
    error_.clear();
}

void CollectionControl::mountFailed(const std::string& error) {
    table_ = nullptr;
    state_ = MountState::failed;
    error_ = error;
}

void CollectionControl::unmounted(const MountedTable* table) {
    if (table_ != table) return;
    table_ = nullptr;
    state_ = MountState::unmounted;
}

}  // namespace Vault
