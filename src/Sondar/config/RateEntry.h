#pragma once
// A stream with its rate in probes per second, and the collection that keeps such entries from
// the slowest stream to the fastest.
#include "Rix/Entity.h"
#include "Rix/Value.h"
#include "Sondar/stats/StreamRecords.h"

namespace Sondar {

#define SONDAR_RATE_ENTRY_FIELDS(X)     \
    X(double, probesPerSecond, 0.0, rw) \
    X(TransmitterStreamPair, transmitterStream, {}, rw)

class RateEntry {
    RIX_VALUE_TYPE(RateEntry, "Sondar::RateEntry", SONDAR_RATE_ENTRY_FIELDS)
    RateEntry() = default;
    RateEntry(double probesPerSecond, const TransmitterStreamPair& transmitterStream)
        : probesPerSecond_(probesPerSecond), transmitterStream_(transmitterStream) {}
    // Numeric equality of the rates: an entry with a NaN rate equals nothing, itself included.
    friend bool operator==(const RateEntry&, const RateEntry&) = default;
    // Slower first, and equal rates by their stream pair. A NaN rate is never less than anything
    // and nothing is less than it: the plain floating-point comparison, kept on purpose.
    friend bool operator<(const RateEntry& a, const RateEntry& b) {
        if (b.probesPerSecond_ > a.probesPerSecond_) return true;
        if (a.probesPerSecond_ != b.probesPerSecond_) return false;  // also when either is NaN
        return a.transmitterStream_ < b.transmitterStream_;
    }
    friend bool operator>(const RateEntry& a, const RateEntry& b) { return b < a; }
    friend bool operator<=(const RateEntry& a, const RateEntry& b) { return !(b < a); }
    friend bool operator>=(const RateEntry& a, const RateEntry& b) { return !(a < b); }
};

// Entries mapped to a flag whose meaning is its user's, in RateEntry order. Unnamed, and with no
// notifiees: orderedRateEntryCollectionNotify is a hook that does nothing here.
class OrderedRateEntryCollection : public Rix::PtrInterface {
  public:
    using Collection = Rix::OrderedMemberCollection<RateEntry, bool>;
    using Element = Collection::Element;
    using Iterator = Collection::Iterator;
    using IteratorConst = Collection::IteratorConst;

    OrderedRateEntryCollection() = default;

    Rix::Ptr<Element> orderedRateEntryCollection(const RateEntry& k) const {
        return Rix::Ptr<Element>(c_.find(k));
    }
    Rix::Ptr<Element> newOrderedRateEntryCollection(const RateEntry& k, bool v);
    void orderedRateEntryCollectionIs(const RateEntry& k, bool v);
    void orderedRateEntryCollectionDel(const RateEntry& k) { c_.take(k); }
    void orderedRateEntryCollectionDelAll() { c_.map().clear(); }
    std::size_t orderedRateEntryCollectionSize() const noexcept { return c_.size(); }
    void orderedRateEntryCollectionNotify(const RateEntry&, Element*) {}

    Iterator iterator() { return c_.iterator(); }
    IteratorConst iteratorConst() const { return c_.iteratorConst(); }
    Iterator startAt(const RateEntry& k) { return c_.startAt(k); }
    IteratorConst startAt(const RateEntry& k) const { return c_.startAt(k); }
    Iterator findNext(const RateEntry& k) { return c_.findNext(k); }
    IteratorConst findNext(const RateEntry& k) const { return c_.findNext(k); }

  private:
    Collection c_;
};

}  // namespace Sondar
