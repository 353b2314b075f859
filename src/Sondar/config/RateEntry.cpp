#include "Sondar/config/RateEntry.h"

namespace Sondar {

Rix::Ptr<OrderedRateEntryCollection::Element>
OrderedRateEntryCollection::newOrderedRateEntryCollection(const RateEntry& k, bool v) {
    Rix::Ptr<Element> e(new Element(k, v));
    *c_.slot(k).first = e;
    orderedRateEntryCollectionNotify(k, e.ptr());
    return e;
}

void OrderedRateEntryCollection::orderedRateEntryCollectionIs(const RateEntry& k, bool v) {
    if (Element* e = c_.find(k)) {
        e->valueIs(v);
        orderedRateEntryCollectionNotify(k, e);
        return;
    }
    newOrderedRateEntryCollection(k, v);
}

}  // namespace Sondar
