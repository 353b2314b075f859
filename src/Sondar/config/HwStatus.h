#pragma once
// Whether the switch hardware supports handling probes at all. Published through the attribute
// log.
#include "Rix/Entity.h"

namespace Sondar {

class HwStatus : public Rix::Entity {
  public:
    enum : Rix::AttributeId { torkSupportedId = 258 };
    class NotifieeConst : public Rix::TypedNotifieeConst<HwStatus> {
      public:
        virtual void onTorkSupported() {}
    };
    using Notifiee = Rix::TypedNotifiee<HwStatus, NotifieeConst>;

    explicit HwStatus(const Rix::Name& name) : Entity(name, attributes) {}
    bool torkSupported() const noexcept { return torkSupported_; }
    void torkSupportedIs(bool v) {
        attributeIs(torkSupported_, v, torkSupportedId, &NotifieeConst::onTorkSupported);
    }

    static const Rix::AttributeTable attributes;

  private:
    bool torkSupported_ = false;
};

Rix::Ptr<HwStatus> hwStatusFactory(const Rix::Name& name);

}  // namespace Sondar
