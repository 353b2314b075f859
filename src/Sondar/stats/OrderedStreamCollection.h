#pragma once
// An entity holding statistics records sorted by their stream key, for orderly output. Members
// are kept in key order (the key's operator<); a record changed in place through a mutable
// iterator is announced with streamNotify(key), which is also what adding and removing tell.
#include <map>
#include <string_view>

#include "Rix/Entity.h"
#include "Sondar/stats/StreamKeys.h"
#include "Sondar/stats/StreamRecords.h"

namespace Sondar {

// The key of a record stored without a separate key: the record's own `key()`.
struct KeyOfRecord {
    template <class V>
    auto operator()(const V& v) const {
        return v.key();
    }
};

template <class K, class V, const std::string_view& TypeName>
class OrderedStreamCollection : public Rix::Entity {
  public:
    enum : Rix::AttributeId { streamId = 258 };
    static constexpr std::string_view typeName = TypeName;
    class NotifieeConst : public Rix::TypedNotifieeConst<OrderedStreamCollection> {
      public:
        RIX_COLLECTION_CALLBACKS(Stream, const K&)
    };
    using Notifiee = Rix::TypedNotifiee<OrderedStreamCollection, NotifieeConst>;
    using StreamCollection = Rix::OrderedMemberCollection<K, V>;

    explicit OrderedStreamCollection(const Rix::Name& name) : Rix::Entity(name, attributes) {}

    RIX_MEMBER_COLLECTION(stream, Stream, StreamCollection, const K&, const V&)
    // Records that carry their key are stored under it.
    Rix::Ptr<typename StreamCollection::Element> newStream(const V& v) requires requires {
        KeyOfRecord()(v);
    }
    { return newStream(KeyOfRecord()(v), v); }
    void streamIs(const V& v) requires requires { KeyOfRecord()(v); }
    { streamIs(KeyOfRecord()(v), v); }
    typename StreamCollection::Iterator streamStartAt(const K& k) { return stream_.startAt(k); }
    typename StreamCollection::IteratorConst streamStartAtConst(const K& k) const {
        return stream_.startAt(k);
    }
    void streamNotify(const K& k) { notifyKeyed<NotifieeConst>(streamId, rixTellStream, k); }

    static const Rix::AttributeTable attributes;

  private:
    StreamCollection stream_;
};

// Local to the agent: no attribute log.
template <class K, class V, const std::string_view& TypeName>
const Rix::AttributeTable OrderedStreamCollection<K, V, TypeName>::attributes{
    false, {Rix::collection<&OrderedStreamCollection::stream_>(streamId, "stream")}};

inline constexpr std::string_view orderedIngressStreamCollectionName =
    "Sondar::OrderedIngressStreamCollection";
inline constexpr std::string_view orderedIngressCheckpointCollectionName =
    "Sondar::OrderedIngressCheckpointCollection";
inline constexpr std::string_view orderedEgressStreamCollectionName =
    "Sondar::OrderedEgressStreamCollection";
inline constexpr std::string_view orderedEgressCheckpointCollectionName =
    "Sondar::OrderedEgressCheckpointCollection";

// Ingress keys that differ only in egressIntf are one key here: their ordering does not look at it.
using OrderedIngressStreamCollection =
    OrderedStreamCollection<IngressStream, IngressStreamStatisticsTableEntry,
                            orderedIngressStreamCollectionName>;
using OrderedIngressCheckpointCollection =
    OrderedStreamCollection<IngressStream, IngressCheckpointStatisticsTableEntry,
                            orderedIngressCheckpointCollectionName>;
using OrderedEgressStreamCollection =
    OrderedStreamCollection<EgressStream, EgressStreamTable, orderedEgressStreamCollectionName>;
using OrderedEgressCheckpointCollection =
    OrderedStreamCollection<EgressStream, EgressCheckpointStatisticsTableEntry,
                            orderedEgressCheckpointCollectionName>;

}  // namespace Sondar
