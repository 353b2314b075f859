#pragma once
// Entities: named, reference-counted objects with numbered attributes and observers.
//
// The mechanism lives here once. An entity class C declares
//   - its attribute ids (from 258, in declaration order) and one AttributeTable listing them
//     through the descriptor builders below (settable, constant, derived, collection, action);
//   - a nested `NotifieeConst : Rix::TypedNotifieeConst<C>` with one empty virtual callback per
//     attribute, and `using Notifiee = Rix::TypedNotifiee<C, NotifieeConst>`;
//   - one-line accessors that call the protected helpers (attributeIs, attributeInc,
//     memberIs, memberDel, childIs, ...), which compare, store, mark dirty and notify.
//
// Notification runs synchronously inside the setter, over the notifiees registered when the
// pass began: a notifiee that joins during a pass is first told on the next one, one that leaves
// (or is destroyed) before its turn is skipped. An exception thrown by a callback goes to that
// notifiee's onNotificationException(id) and the pass goes on. An entity whose last reference
// goes away during a pass is deleted when the pass ends.
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Rix/Exception.h"
#include "Rix/HashMap.h"
#include "Rix/Ptr.h"
#include "Rix/RbTreeMap.h"
#include "Rix/Strep.h"
#include "Rix/String.h"
#include "Rix/Types.h"

namespace Rix {

using AttributeId = U32;
inline constexpr AttributeId firstAttributeId = 258;

// Attributes of every entity, below the classes' own numbers.
enum : AttributeId {
    nameAttributeId = 1,
    isNondestructingAttributeId = 2,
    zeroReferencesAttributeId = 3,
};

enum class AttributeKind { settable, constant, derived, collection, action };
const char* kindName(AttributeKind k) noexcept;

// ---- Collections ------------------------------------------------------------------------------

// A member of a value collection: its key and its value, changed in place.
template <class K, class V>
class Member : public PtrInterface {
  public:
    using Key = K;
    using Value = V;
    Member(const K& k, const V& v) : key_(k), value_(v) {}
    const K& key() const noexcept { return key_; }
    const V& value() const noexcept { return value_; }
    void valueIs(const V& v) { value_ = v; }

  private:
    K key_;
    V value_;
};

template <class K, class E, class Map>
class CollectionIterator {
  public:
    using It = std::conditional_t<std::is_const_v<E>, typename Map::const_iterator,
                                  typename Map::iterator>;
    CollectionIterator(It at, It end) : at_(at), end_(end) {}
    explicit operator bool() const noexcept { return at_ != end_; }
    CollectionIterator& operator++() {
        ++at_;
        return *this;
    }
    const K& key() const { return at_->first; }
    E* ptr() const { return at_->second.ptr(); }
    E* operator->() const { return ptr(); }
    E& operator*() const { return *ptr(); }

  private:
    It at_;
    It end_;
};

// Elements of type E (reference counted) by key K, in a hash map or, with an ordered map type,
// in key order. Both maps answer the same calls (Rix/MapAdapter.h).
template <class K, class E, class Map = HashMap<K, Ptr<E>>>
class Collection {
  public:
    using Key = K;
    using Element = E;
    using Iterator = CollectionIterator<K, E, Map>;
    using IteratorConst = CollectionIterator<K, const E, Map>;

    E* find(const K& k) const {
        const Ptr<E>* p = map_.find(k);
        return p ? p->ptr() : nullptr;
    }
    std::size_t size() const noexcept { return map_.size(); }
    bool empty() const noexcept { return map_.empty(); }
    Iterator iterator() { return Iterator(map_.begin(), map_.end()); }
    Iterator iterator(const K& k) { return Iterator(map_.iteratorAt(k), map_.end()); }
    IteratorConst iteratorConst() const { return IteratorConst(map_.begin(), map_.end()); }
    IteratorConst iteratorConst(const K& k) const { return IteratorConst(map_.iteratorAt(k), map_.end()); }
    // Ordered collections only: from the first key not less than k, and from the first key
    // greater than k; neither needs k to be present.
    Iterator startAt(const K& k) { return Iterator(map_.startAt(k), map_.end()); }
    IteratorConst startAt(const K& k) const { return IteratorConst(map_.startAt(k), map_.end()); }
    Iterator findNext(const K& k) { return Iterator(map_.findNext(k), map_.end()); }
    IteratorConst findNext(const K& k) const { return IteratorConst(map_.findNext(k), map_.end()); }

    // The slot for k, created empty if absent; true when it was created.
    std::pair<Ptr<E>*, bool> slot(const K& k) { return map_.tryEmplace(k); }
    // Removes k's element and hands it over; null when absent.
    Ptr<E> take(const K& k) {
        Ptr<E> e;
        auto it = map_.iteratorAt(k);
        if (it != map_.end()) {
            e = std::move(it->second);
            map_.erase(it);
        }
        return e;
    }
    Map& map() noexcept { return map_; }
    const Map& map() const noexcept { return map_; }

  private:
    Map map_;
};

template <class K, class V, class Hash = DefaultHash<K>>
using MemberCollection = Collection<K, Member<K, V>, HashMap<K, Ptr<Member<K, V>>, Hash>>;
template <class K, class V, class Less = std::less<K>>
using OrderedMemberCollection = Collection<K, Member<K, V>, RbTreeMap<K, Ptr<Member<K, V>>, Less>>;
template <class K, class C, class Hash = DefaultHash<K>>
using ChildCollection = Collection<K, C, HashMap<K, Ptr<C>, Hash>>;

class Entity;

struct AttributeDescriptor {
    AttributeId id;
    const char* name;
    AttributeKind kind;
    // The text form of the current value; null for actions.
    String8 (*read)(const Entity&);
    // Parses the whole text and stores it through the public setter; null unless settable.
    void (*write)(Entity&, const String8&);
    // Changes are recorded in the entity's dirty bits (entities with an attribute log only).
    bool published = true;
};

// One class's attributes, ids consecutive from 258 in declaration order.
class AttributeTable {
  public:
    AttributeTable(bool hasAttrLog, std::initializer_list<AttributeDescriptor> attributes);
    bool hasAttrLog() const noexcept { return hasAttrLog_; }
    const AttributeDescriptor* find(AttributeId id) const noexcept;
    const AttributeDescriptor* find(std::string_view name) const noexcept;
    const std::vector<AttributeDescriptor>& attributes() const noexcept { return attributes_; }
    U64 publishedMask() const noexcept { return publishedMask_; }

  private:
    bool hasAttrLog_;
    std::vector<AttributeDescriptor> attributes_;
    U64 publishedMask_ = 0;
};

// Dirty bit of an attribute: classes' own from bit 0, the lifecycle flag in the top bit.
constexpr U64 dirtyBit(AttributeId id) noexcept {
    return id >= firstAttributeId && id - firstAttributeId < 63 ? U64{1} << (id - firstAttributeId)
           : id == isNondestructingAttributeId                  ? U64{1} << 63
                                                                : 0;
}

class Entity : public PtrInterface {
  public:
    class NotifieeConst;

    Entity(const Name& name, const AttributeTable& table);
    Entity(const Entity&) = delete;
    Entity& operator=(const Entity&) = delete;
    ~Entity() override;

    const Name& name() const noexcept { return name_; }
    Entity* parent() const noexcept { return parent_; }
    AttributeId attributeInParent() const noexcept { return attributeInParent_; }
    void parentIs(Entity* parent, AttributeId attributeInParent) noexcept {
        parent_ = parent;
        attributeInParent_ = parent ? attributeInParent : 0;
    }

    bool isNondestructing() const noexcept { return isNondestructing_; }
    void isNondestructingIs(bool v);
    bool zeroReferences() const noexcept { return zeroReferences_; }
    void zeroReferencesIs(bool v) noexcept { zeroReferences_ = v; }

    // The attribute's name: the class's own from 258, the base's below, "unknown" otherwise.
    const char* attributeString(AttributeId id) const noexcept;
    const AttributeTable& attributeTable() const noexcept { return *table_; }
    bool rixHasAttrLogInterface() const noexcept { return table_->hasAttrLog(); }

    // The generic attribute interface, through text forms. Unknown ids and names raise
    // BadIndexException; writing anything but a settable attribute raises
    // UnsupportedOperationException naming it; writing through a const instance raises
    // ConstInstanceException.
    String8 attributeText(AttributeId id) const;
    String8 attributeText(std::string_view name) const;
    void attributeTextIs(AttributeId id, const String8& text);
    void attributeTextIs(std::string_view name, const String8& text);
    [[noreturn]] void attributeTextIs(AttributeId id, const String8& text) const;
    [[noreturn]] void attributeTextIs(std::string_view name, const String8& text) const;

    // Attribute-log dirty bits; always clear in an entity without an attribute log.
    bool dirty(AttributeId id) const noexcept { return (dirty_ & dirtyBit(id)) != 0; }
    U64 dirtyBits() const noexcept { return dirty_; }
    void dirtyClear() noexcept { dirty_ = 0; }

    std::size_t notifiees() const noexcept;

  protected:
    void onZeroReferences() noexcept override;

    void dirtyMark(AttributeId id) noexcept { dirty_ |= dirtyBit(id) & dirtyMask_; }

    // Calls f(N&) for each notifiee of the pass, guarded.
    template <class N, class F>
    void notify(AttributeId id, F&& f) const;
    template <class N>
    void notify(AttributeId id, void (N::*cb)()) const {
        notify<N>(id, [cb](N& n) { (n.*cb)(); });
    }

    // Scalar setter: an equal value (==, so a NaN always differs) does nothing; otherwise store,
    // mark dirty and notify.
    template <class T, class N>
    bool attributeIs(T& slot, const T& v, AttributeId id, void (N::*cb)()) {
        if (slot == v) return false;
        slot = v;
        dirtyMark(id);
        notify<N>(id, cb);
        return true;
    }
    // A setter with a rule: the value is stored first, then check() may throw, in which case the
    // new value stays and nobody is told.
    template <class T, class N, class Check>
    bool attributeIs(T& slot, const T& v, AttributeId id, void (N::*cb)(), Check&& check) {
        if (slot == v) return false;
        slot = v;
        dirtyMark(id);
        check();
        notify<N>(id, cb);
        return true;
    }
    // Counters add and subtract in the attribute's own width and wrap.
    template <class T, class N>
    bool attributeInc(T& slot, T n, AttributeId id, void (N::*cb)()) {
        return attributeIs(slot, static_cast<T>(slot + n), id, cb);
    }
    template <class T, class N>
    bool attributeDec(T& slot, T n, AttributeId id, void (N::*cb)()) {
        return attributeIs(slot, static_cast<T>(slot - n), id, cb);
    }

    template <class N, class Cb, class K>
    void notifyKeyed(AttributeId id, Cb keyed, const K& k) {
        dirtyMark(id);
        notify<N>(id, [&](N& n) { std::invoke(keyed, n, k); });
    }

    // Create or update in place; equal values do nothing.
    template <class N, class Cb, class K, class V, class Map>
    Member<K, V>* memberIs(Collection<K, Member<K, V>, Map>& c, const K& k, const V& v,
                           AttributeId id, Cb keyed) {
        auto [slot, inserted] = c.slot(k);
        if (inserted) {
            *slot = Ptr<Member<K, V>>(new Member<K, V>(k, v));
        } else {
            if ((*slot)->value() == v) return slot->ptr();
            (*slot)->valueIs(v);
        }
        Member<K, V>* m = slot->ptr();
        notifyKeyed<N>(id, keyed, k);
        return m;
    }
    // Create unconditionally, replacing a member of that key.
    template <class N, class Cb, class K, class V, class Map>
    Ptr<Member<K, V>> memberNew(Collection<K, Member<K, V>, Map>& c, const K& k, const V& v,
                                AttributeId id, Cb keyed) {
        Ptr<Member<K, V>> m(new Member<K, V>(k, v));
        c.map()[k] = m;
        notifyKeyed<N>(id, keyed, k);
        return m;
    }
    // Removes and returns the element (null when absent, which is no error).
    template <class N, class Cb, class K, class E, class Map>
    Ptr<E> memberDel(Collection<K, E, Map>& c, const K& k, AttributeId id, Cb keyed) {
        Ptr<E> e = c.take(k);
        if (!e) return e;
        if constexpr (std::is_base_of_v<Entity, E>) e->parentIs(nullptr, 0);
        notifyKeyed<N>(id, keyed, k);
        return e;
    }
    template <class N, class Cb, class K, class E, class Map>
    void memberDelAll(Collection<K, E, Map>& c, AttributeId id, Cb keyed) {
        while (!c.empty()) {
            const K k = c.map().begin()->first;
            memberDel<N>(c, k, id, keyed);
        }
    }

    // Owned child entities: made by `make`, with this entity as their parent.
    template <class N, class Cb, class K, class C, class Map, class Make>
    Ptr<C> childNew(Collection<K, C, Map>& c, const K& k, AttributeId id, Cb keyed, Make&& make) {
        Ptr<C> child = make();
        child->parentIs(this, id);
        Ptr<C>& slot = c.map()[k];
        if (slot) slot->parentIs(nullptr, 0);
        slot = child;
        notifyKeyed<N>(id, keyed, k);
        return child;
    }
    template <class N, class Cb, class K, class C, class Map, class Make>
    Ptr<C> childIs(Collection<K, C, Map>& c, const K& k, AttributeId id, Cb keyed, Make&& make) {
        if (C* existing = c.find(k)) return Ptr<C>(existing);
        return childNew<N>(c, k, id, keyed, std::forward<Make>(make));
    }

  private:
    friend class NotifieeConst;
    friend struct NotificationPass;
    void notifieeAdd(NotifieeConst* n) const;
    void notifieeRemove(NotifieeConst* n) const noexcept;
    void passEnd() const noexcept;

    Name name_;
    const AttributeTable* table_;
    Entity* parent_ = nullptr;
    AttributeId attributeInParent_ = 0;
    U64 dirty_ = 0;
    U64 dirtyMask_;
    bool isNondestructing_ = false;
    bool zeroReferences_ = false;
    mutable bool compactAfterPass_ = false;
    mutable bool deleteAfterPass_ = false;
    mutable U32 passDepth_ = 0;
    mutable std::vector<NotifieeConst*> notifiees_;
};

// The observer base. A notifiee keeps its notifier alive and is on its list while it has a
// notifier and wants to be registered (the default).
class Entity::NotifieeConst {
  public:
    NotifieeConst() = default;
    NotifieeConst(const NotifieeConst&) = delete;
    NotifieeConst& operator=(const NotifieeConst&) = delete;
    virtual ~NotifieeConst();

    bool isRegisteredNotifiee() const noexcept { return wantRegistered_; }
    void isRegisteredNotifieeIs(bool v);

    // Called inside the catch block of a callback that threw, with the attribute's id.
    virtual void onNotificationException(AttributeId) {}
    virtual void onIsNondestructing() {}

  protected:
    const Entity* notifierBase() const noexcept { return notifier_.ptr(); }
    void notifierBaseIs(const Entity* e);

  private:
    Ptr<const Entity> notifier_;
    bool wantRegistered_ = true;
    bool onList_ = false;
};

template <class C>
class TypedNotifieeConst : public Entity::NotifieeConst {
  public:
    const C* notifier() const noexcept { return static_cast<const C*>(notifierBase()); }
    void notifierIs(const Ptr<const C>& n) { notifierBaseIs(n.ptr()); }
};

template <class C, class NC>
class TypedNotifiee : public NC {
  public:
    // Bound only through the mutable notifierIs below, so the entity may be changed.
    C* notifier() const noexcept { return const_cast<C*>(NC::notifier()); }
    void notifierIs(const Ptr<C>& n) { NC::notifierIs(Ptr<const C>(n)); }
};

struct NotificationPass {
    explicit NotificationPass(const Entity& e) noexcept : e_(e) { ++e_.passDepth_; }
    ~NotificationPass() { e_.passEnd(); }
    const Entity& e_;
};

template <class N, class F>
void Entity::notify(AttributeId id, F&& f) const {
    if (notifiees_.empty()) return;
    NotificationPass pass(*this);
    const std::size_t n = notifiees_.size();
    for (std::size_t i = 0; i < n; ++i) {
        NotifieeConst* x = notifiees_[i];
        if (!x) continue;
        try {
            f(static_cast<N&>(*x));
        } catch (...) {
            // the callback may have taken its own notifiee off the list, or destroyed it
            if (notifiees_[i] == x) {
                try {
                    x->onNotificationException(id);
                } catch (...) {
                }
            }
        }
    }
}

// ---- Descriptor builders -----------------------------------------------------------------------

template <class T>
struct MemberFunctionTraits;
template <class C, class R>
struct MemberFunctionTraits<R (C::*)() const> {
    using Class = C;
    using Result = std::remove_cvref_t<R>;
};
template <class C, class R>
struct MemberFunctionTraits<R (C::*)() const noexcept> {
    using Class = C;
    using Result = std::remove_cvref_t<R>;
};

// Get is a const member function, or for a class constant a static one.
template <auto Get>
String8 readThrough(const Entity& e) {
    if constexpr (std::is_member_function_pointer_v<decltype(Get)>) {
        using Tr = MemberFunctionTraits<decltype(Get)>;
        return valueToStrep((static_cast<const typename Tr::Class&>(e).*Get)());
    } else {
        return valueToStrep(Get());
    }
}

template <auto Get, auto Set>
void writeThrough(Entity& e, const String8& text) {
    using Tr = MemberFunctionTraits<decltype(Get)>;
    const auto v = strepToValue<typename Tr::Result>(text);
    (static_cast<typename Tr::Class&>(e).*Set)(v);
}

template <class K, class E, class Map>
String8 collectionText(const Collection<K, E, Map>& c) {
    std::string s = "{";
    bool first = true;
    for (auto it = c.iteratorConst(); it; ++it) {
        if (!first) s += ", ";
        first = false;
        s += valueToStrep(it.key()).str();
        s += ": ";
        if constexpr (std::is_base_of_v<Entity, E>)
            s += valueToStrep(it->name()).str();
        else
            s += valueToStrep(it->value()).str();
    }
    s += "}";
    return String8(std::move(s));
}

template <class T>
struct MemberClass;
template <class C, class M>
struct MemberClass<M C::*> {
    using Class = C;
};

template <auto Get, auto Set>
AttributeDescriptor settable(AttributeId id, const char* name, bool published = true) {
    return {id,       name, AttributeKind::settable, &readThrough<Get>, &writeThrough<Get, Set>,
            published};
}
template <auto Get>
AttributeDescriptor constant(AttributeId id, const char* name) {
    return {id, name, AttributeKind::constant, &readThrough<Get>, nullptr, false};
}
template <auto Get>
AttributeDescriptor derived(AttributeId id, const char* name) {
    return {id, name, AttributeKind::derived, &readThrough<Get>, nullptr, false};
}
// Coll is a pointer to the class's Collection data member.
template <auto Coll>
AttributeDescriptor collection(AttributeId id, const char* name, bool published = true) {
    return {id,
            name,
            AttributeKind::collection,
            [](const Entity& e) {
                return collectionText(
                    static_cast<const typename MemberClass<decltype(Coll)>::Class&>(e).*Coll);
            },
            nullptr,
            published};
}
inline AttributeDescriptor action(AttributeId id, const char* name) {
    return {id, name, AttributeKind::action, nullptr, nullptr, false};
}

}  // namespace Rix

// ---- Accessor families ----------------------------------------------------------------------
// Written inside an entity class C that has `NotifieeConst`, an id `xId` and a data member `x_`
// of type Coll for its collection attribute x. A member change tells each notifiee
// onXrixImmediate() and then onX(key); emptying a non-empty collection with xDelAll() tells each
// key in turn and then onX() once.

// The three callbacks of a collection, inside C::NotifieeConst.
#define RIX_COLLECTION_CALLBACKS(X, KP) \
    virtual void on##X() {}             \
    virtual void on##X(KP) {}           \
    virtual void on##X##rixImmediate() {}

// Iterators (from the start or from a key), deletion of one key and of all.
#define RIX_COLLECTION_ACCESS(x, X, Coll, KP)                                              \
  public:                                                                                  \
    using X##Iterator = typename Coll::Iterator;                                           \
    using X##IteratorConst = typename Coll::IteratorConst;                                 \
    X##Iterator x##Iter() { return x##_.iterator(); }                                      \
    X##Iterator x##Iter(KP k) { return x##_.iterator(k); }                                 \
    X##IteratorConst x##IterConst() const { return x##_.iteratorConst(); }                 \
    X##IteratorConst x##IterConst(KP k) const { return x##_.iteratorConst(k); }            \
    std::size_t x##Size() const noexcept { return x##_.size(); }                           \
    ::Rix::Ptr<typename Coll::Element> x##Del(KP k) {                                      \
        return memberDel<NotifieeConst>(x##_, typename Coll::Key(k), x##Id, rixTell##X);   \
    }                                                                                      \
    void x##DelAll() {                                                                     \
        if (x##_.empty()) return;                                                          \
        memberDelAll<NotifieeConst>(x##_, x##Id, rixTell##X);                              \
        notify<NotifieeConst>(x##Id, [](NotifieeConst& n) { n.on##X(); });                 \
    }                                                                                      \
    static constexpr auto rixTell##X = [](NotifieeConst& n, const typename Coll::Key& k) { \
        n.on##X##rixImmediate();                                                           \
        n.on##X(k);                                                                        \
    };

// A collection of values: the lookup (the value type's default when absent), xIs(k, v), newX(k, v).
#define RIX_MEMBER_COLLECTION(x, X, Coll, KP, VP)                                              \
    RIX_COLLECTION_ACCESS(x, X, Coll, KP)                                                      \
    typename Coll::Element::Value x(KP k) const {                                              \
        const auto* m = x##_.find(typename Coll::Key(k));                                      \
        return m ? m->value() : typename Coll::Element::Value{};                               \
    }                                                                                          \
    void x##Is(KP k, VP v) {                                                                   \
        memberIs<NotifieeConst>(x##_, typename Coll::Key(k), typename Coll::Element::Value(v), \
                                x##Id, rixTell##X);                                            \
    }                                                                                          \
    ::Rix::Ptr<typename Coll::Element> new##X(KP k, VP v) {                                    \
        return memberNew<NotifieeConst>(x##_, typename Coll::Key(k),                           \
                                        typename Coll::Element::Value(v), x##Id, rixTell##X);  \
    }

// A collection of owned child entities made by the expression `make` (with the key k in scope):
// the lookup (null when absent), newX(k) and xIs(k), which returns an existing child.
#define RIX_CHILD_COLLECTION(x, X, Coll, KP, make)                                                \
    RIX_COLLECTION_ACCESS(x, X, Coll, KP)                                                         \
    ::Rix::Ptr<typename Coll::Element> x(KP k) const {                                            \
        return ::Rix::Ptr<typename Coll::Element>(x##_.find(k));                                  \
    }                                                                                             \
    ::Rix::Ptr<typename Coll::Element> new##X(KP k) {                                             \
        return childNew<NotifieeConst>(x##_, typename Coll::Key(k), x##Id, rixTell##X,            \
                                       [&] { return ::Rix::Ptr<typename Coll::Element>(make); }); \
    }                                                                                             \
    ::Rix::Ptr<typename Coll::Element> x##Is(KP k) {                                              \
        return childIs<NotifieeConst>(x##_, typename Coll::Key(k), x##Id, rixTell##X,             \
                                      [&] { return ::Rix::Ptr<typename Coll::Element>(make); });  \
    }
