#include "Rix/Entity.h"

#include <algorithm>

#include "Rix/Assert.h"

namespace Rix {

namespace {

String8 readName(const Entity& e) { return valueToStrep(e.name()); }
String8 readIsNondestructing(const Entity& e) { return valueToStrep(e.isNondestructing()); }
String8 readZeroReferences(const Entity& e) { return valueToStrep(e.zeroReferences()); }
void writeIsNondestructing(Entity& e, const String8& t) {
    e.isNondestructingIs(strepToValue<bool>(t));
}
void writeZeroReferences(Entity& e, const String8& t) { e.zeroReferencesIs(strepToValue<bool>(t)); }

// The attributes every entity has.
const AttributeDescriptor baseAttributes[] = {
    {nameAttributeId, "name", AttributeKind::constant, &readName, nullptr, false},
    {isNondestructingAttributeId, "isNondestructing", AttributeKind::settable,
     &readIsNondestructing, &writeIsNondestructing, true},
    {zeroReferencesAttributeId, "zeroReferences", AttributeKind::settable, &readZeroReferences,
     &writeZeroReferences, false},
};

const AttributeDescriptor* baseFind(AttributeId id) noexcept {
    for (const auto& d : baseAttributes) {
        if (d.id == id) return &d;
    }
    return nullptr;
}

[[noreturn]] void badIndex(const std::string& what) {
    throw BadIndexException("attribute " + what);
}

}  // namespace

const char* kindName(AttributeKind k) noexcept {
    switch (k) {
        case AttributeKind::settable:
            return "settable";
        case AttributeKind::constant:
            return "constant";
        case AttributeKind::derived:
            return "derived";
        case AttributeKind::collection:
            return "collection";
        case AttributeKind::action:
            return "action";
    }
    return "unknown";
}

AttributeTable::AttributeTable(bool hasAttrLog,
                               std::initializer_list<AttributeDescriptor> attributes)
    : hasAttrLog_(hasAttrLog), attributes_(attributes) {
    RIX_ASSERT(attributes_.size() < 63);
    for (std::size_t i = 0; i < attributes_.size(); ++i) {
        // the ids are the declaration order; a table out of order is a programming error
        RIX_ASSERT(attributes_[i].id == firstAttributeId + i);
        if (attributes_[i].published) publishedMask_ |= dirtyBit(attributes_[i].id);
    }
    publishedMask_ |= dirtyBit(isNondestructingAttributeId);
}

const AttributeDescriptor* AttributeTable::find(AttributeId id) const noexcept {
    if (id >= firstAttributeId && id - firstAttributeId < attributes_.size()) {
        return &attributes_[id - firstAttributeId];
    }
    return baseFind(id);
}

const AttributeDescriptor* AttributeTable::find(std::string_view name) const noexcept {
    for (const auto& d : attributes_) {
        if (name == d.name) return &d;
    }
    for (const auto& d : baseAttributes) {
        if (name == d.name) return &d;
    }
    return nullptr;
}

Entity::Entity(const Name& name, const AttributeTable& table)
    : name_(name), table_(&table), dirtyMask_(table.hasAttrLog() ? table.publishedMask() : 0) {}

Entity::~Entity() {
    // notifiees hold a reference, so none can be left unless it is being torn down with us
    for (NotifieeConst* n : notifiees_) RIX_ASSERT(n == nullptr);
}

void Entity::isNondestructingIs(bool v) {
    attributeIs(isNondestructing_, v, isNondestructingAttributeId,
                &NotifieeConst::onIsNondestructing);
}

const char* Entity::attributeString(AttributeId id) const noexcept {
    const AttributeDescriptor* d = table_->find(id);
    return d ? d->name : "unknown";
}

std::size_t Entity::notifiees() const noexcept {
    return static_cast<std::size_t>(
        std::count_if(notifiees_.begin(), notifiees_.end(), [](auto* n) { return n != nullptr; }));
}

String8 Entity::attributeText(AttributeId id) const {
    const AttributeDescriptor* d = table_->find(id);
    if (!d) badIndex(std::to_string(id));
    if (!d->read) throw UnsupportedOperationException(d->name);
    return d->read(*this);
}

String8 Entity::attributeText(std::string_view name) const {
    const AttributeDescriptor* d = table_->find(name);
    if (!d) badIndex(std::string(name));
    return attributeText(d->id);
}

void Entity::attributeTextIs(AttributeId id, const String8& text) {
    const AttributeDescriptor* d = table_->find(id);
    if (!d) badIndex(std::to_string(id));
    if (!d->write) throw UnsupportedOperationException(d->name);
    d->write(*this, text);
}

void Entity::attributeTextIs(std::string_view name, const String8& text) {
    const AttributeDescriptor* d = table_->find(name);
    if (!d) badIndex(std::string(name));
    attributeTextIs(d->id, text);
}

void Entity::attributeTextIs(AttributeId, const String8&) const { throw ConstInstanceException(); }
void Entity::attributeTextIs(std::string_view, const String8&) const {
    throw ConstInstanceException();
}

void Entity::onZeroReferences() noexcept {
    if (passDepth_ > 0) {
        // a callback dropped the last reference; the pass still walks this entity
        deleteAfterPass_ = true;
        return;
    }
    zeroReferences_ = true;
    delete this;
}

void Entity::notifieeAdd(NotifieeConst* n) const { notifiees_.push_back(n); }

void Entity::notifieeRemove(NotifieeConst* n) const noexcept {
    auto it = std::find(notifiees_.begin(), notifiees_.end(), n);
    if (it == notifiees_.end()) return;
    if (passDepth_ > 0) {
        // a pass indexes the list; keep the positions and compact when the pass is over
        *it = nullptr;
        compactAfterPass_ = true;
    } else {
        notifiees_.erase(it);
    }
}

void Entity::passEnd() const noexcept {
    if (--passDepth_ > 0) return;
    if (compactAfterPass_) {
        compactAfterPass_ = false;
        std::erase(notifiees_, nullptr);
    }
    if (deleteAfterPass_ && references() == 0) {
        auto* self = const_cast<Entity*>(this);
        self->zeroReferences_ = true;
        delete self;
    } else {
        deleteAfterPass_ = false;
    }
}

Entity::NotifieeConst::~NotifieeConst() {
    if (onList_ && notifier_) notifier_->notifieeRemove(this);
}

void Entity::NotifieeConst::isRegisteredNotifieeIs(bool v) {
    wantRegistered_ = v;
    if (!notifier_) return;
    if (v && !onList_) {
        notifier_->notifieeAdd(this);
        onList_ = true;
    } else if (!v && onList_) {
        onList_ = false;
        notifier_->notifieeRemove(this);
    }
}

void Entity::NotifieeConst::notifierBaseIs(const Entity* e) {
    if (notifier_.ptr() == e) return;
    Ptr<const Entity> keep(e);
    if (onList_ && notifier_) {
        notifier_->notifieeRemove(this);
        onList_ = false;
    }
    notifier_ = std::move(keep);
    if (notifier_ && wantRegistered_) {
        notifier_->notifieeAdd(this);
        onList_ = true;
    }
}

}  // namespace Rix
