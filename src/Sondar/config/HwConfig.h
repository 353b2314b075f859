#pragma once
// The hardware side of the configuration: whether the switch hardware is asked to handle probes,
// and on which destination port. Published through the attribute log.
#include "Rix/Entity.h"
#include "Sondar/config/TorkSettings.h"

namespace Sondar {

class HwConfig : public Rix::Entity {
  public:
    enum : Rix::AttributeId { torkSettingsId = 258 };
    class NotifieeConst : public Rix::TypedNotifieeConst<HwConfig> {
      public:
        virtual void onTorkSettings() {}
    };
    using Notifiee = Rix::TypedNotifiee<HwConfig, NotifieeConst>;

    explicit HwConfig(const Rix::Name& name) : Entity(name, attributes) {}
    TorkSettings torkSettings() const noexcept { return torkSettings_; }
    void torkSettingsIs(TorkSettings v) {
        attributeIs(torkSettings_, v, torkSettingsId, &NotifieeConst::onTorkSettings);
    }

    static const Rix::AttributeTable attributes;

  private:
    TorkSettings torkSettings_;
};

Rix::Ptr<HwConfig> hwConfigFactory(const Rix::Name& name);

}  // namespace Sondar
