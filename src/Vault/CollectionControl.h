#pragma once
// The control object of a shared-memory table: what the table is mounted as (name, capacity,
// permissions) and what became of the mounting. A VaultMap mounts itself through its control;
// the control reports the mounted table's size while the map lives.
#include <sys/types.h>

#include <string>

#include "Rix/Types.h"

namespace Vault {

enum class Permissions : U8 { ownerOnly, groupRead };
enum class MountState : U8 { unmounted, created, recovered, failed };

const char* mountStateName(MountState s);

// What a mounted table tells its control.
class MountedTable {
  public:
    virtual U32 size() const = 0;
    virtual U64 segmentBytes() const = 0;
    virtual void controlGone() = 0;

  protected:
    ~MountedTable() = default;
};

class CollectionControl {
  public:
    // `name` is the segment's name without the leading slash: letters, digits, '.', '_', '-'.
    // Throws Vault::Exception on a bad name or a capacity of 0 or above maxCapacity.
    CollectionControl(std::string name, U32 capacity,
                      Permissions permissions = Permissions::ownerOnly);
    CollectionControl(const CollectionControl&) = delete;
    CollectionControl& operator=(const CollectionControl&) = delete;
    ~CollectionControl();

    const std::string& name() const { return name_; }
    std::string segmentName() const { return "/" + name_; }
    U32 capacity() const { return capacity_; }
    Permissions permissions() const { return permissions_; }
    mode_t mode() const { return permissions_ == Permissions::groupRead ? 0640 : 0600; }

    MountState state() const { return state_; }
    // Why the last mounting failed; empty otherwise.
    const std::string& error() const { return error_; }
    // Entries the last recovery found caught mid-write or corrupt and removed.
    U32 repairedEntries() const { return repaired_; }
    U32 size() const { return table_ ? table_->size() : 0; }
    U64 segmentBytes() const { return table_ ? table_->segmentBytes() : 0; }
    std::string description() const;

    // Removes the named segment from the system; true when it existed.
    static bool remove(const std::string& name);

    // Called by the table being mounted.
    void mounted(MountedTable* table, MountState state, U32 repaired);
    void mountFailed(const std::string& error);
    void unmounted(const MountedTable* table);

  private:
    std::string name_;
    U32 capacity_;
    Permissions permissions_;
    MountState state_ = MountState::unmounted;
    std::string error_;
    U32 repaired_ = 0;
    MountedTable* table_ = nullptr;
};

}  // namespace Vault
