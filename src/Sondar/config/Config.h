#pragma once
// The root of the monitor's configuration: the switch, the probes' destination port, the
// checkpoint interval, the stream and rate limits, and the transmitters it owns by name.
//
// The maxima of streams are 16 bits wide while the supported counts are 32 bits wide, so a
// maximum never exceeds 65535; the derived defaults are the supported counts cut (not saturated)
// to 16 bits. The four setters of counts store first and then check the maximum against the
// supported count: on failure the new value stays in place and nobody is told.
#include "Rix/Entity.h"
#include "Sondar/config/ProbesPerSecond.h"
#include "Sondar/config/TransmitterConfig.h"

namespace Sondar {

class Config : public Rix::Entity {
  public:
    enum : Rix::AttributeId {
        supportedEgressStreamsId = 258,
        supportedIngressStreamsId,
        supportedEgressProbeRateId,
        supportedEgressProbeBurstRateId,
        minSupportedProbeIntervalId,
        rateRecomputeDeferId,
        transmitterId,
        defaultMaxIngressStreamsId,
        maxIngressStreamsId,
        defaultMaxEgressStreamsId,
        maxEgressStreamsId,
        defaultDestinationPortId,
        destinationPortId,
        enabledId,
        defaultCheckpointIntervalId,
        checkpointIntervalId,
        logMessagePeriodId,
        robustnessId,
        defaultIgnoreChecksumId,
        ignoreChecksumId,
        defaultPreserveStreamsId,
        preserveStreamsId,
        defaultAllowDestinationReuseId,
        allowDestinationReuseId,
    };

    class NotifieeConst : public Rix::TypedNotifieeConst<Config> {
      public:
        virtual void onSupportedEgressStreams() {}
        virtual void onSupportedIngressStreams() {}
        virtual void onSupportedEgressProbeRate() {}
        virtual void onSupportedEgressProbeBurstRate() {}
        virtual void onMinSupportedProbeInterval() {}
        virtual void onRateRecomputeDefer() {}
        virtual void onMaxIngressStreams() {}
        virtual void onMaxEgressStreams() {}
        virtual void onDestinationPort() {}
        virtual void onEnabled() {}
        virtual void onCheckpointInterval() {}
        virtual void onRobustness() {}
        virtual void onIgnoreChecksum() {}
        virtual void onPreserveStreams() {}
        virtual void onAllowDestinationReuse() {}
        RIX_COLLECTION_CALLBACKS(Transmitter, Rix::Name)
    };
    using Notifiee = Rix::TypedNotifiee<Config, NotifieeConst>;
    using TransmitterCollection = Rix::ChildCollection<Rix::Name, TransmitterConfig>;

    explicit Config(const Rix::Name& name);

    U32 supportedEgressStreams() const noexcept { return supportedEgressStreams_; }
    void supportedEgressStreamsIs(U32 v);
    U32 supportedIngressStreams() const noexcept { return supportedIngressStreams_; }
    void supportedIngressStreamsIs(U32 v);
    ProbesPerSecond supportedEgressProbeRate() const noexcept { return supportedEgressProbeRate_; }
    void supportedEgressProbeRateIs(ProbesPerSecond v) {
        attributeIs(supportedEgressProbeRate_, v, supportedEgressProbeRateId,
                    &NotifieeConst::onSupportedEgressProbeRate);
    }
    ProbesPerSecond supportedEgressProbeBurstRate() const noexcept {
        return supportedEgressProbeBurstRate_;
    }
    void supportedEgressProbeBurstRateIs(ProbesPerSecond v) {
        attributeIs(supportedEgressProbeBurstRate_, v, supportedEgressProbeBurstRateId,
                    &NotifieeConst::onSupportedEgressProbeBurstRate);
    }
    double minSupportedProbeInterval() const noexcept { return minSupportedProbeInterval_; }
    void minSupportedProbeIntervalIs(const double& v) {
        attributeIs(minSupportedProbeInterval_, v, minSupportedProbeIntervalId,
                    &NotifieeConst::onMinSupportedProbeInterval);
    }
    double rateRecomputeDefer() const noexcept { return rateRecomputeDefer_; }
    void rateRecomputeDeferIs(const double& v) {
        attributeIs(rateRecomputeDefer_, v, rateRecomputeDeferId,
                    &NotifieeConst::onRateRecomputeDefer);
    }

    RIX_CHILD_COLLECTION(transmitter, Transmitter, TransmitterCollection, const Rix::Name&,
                         new TransmitterConfig(k))

    U16 defaultMaxIngressStreams() const noexcept {
        return static_cast<U16>(supportedIngressStreams_);
    }
    U16 maxIngressStreams() const noexcept { return maxIngressStreams_; }
    void maxIngressStreamsIs(U16 v);
    U16 defaultMaxEgressStreams() const noexcept {
        return static_cast<U16>(supportedEgressStreams_);
    }
    U16 maxEgressStreams() const noexcept { return maxEgressStreams_; }
    void maxEgressStreamsIs(U16 v);
    static U16 defaultDestinationPort() noexcept { return 49152; }
    U16 destinationPort() const noexcept { return destinationPort_; }
    void destinationPortIs(U16 v) {
        attributeIs(destinationPort_, v, destinationPortId, &NotifieeConst::onDestinationPort);
    }
    bool enabled() const noexcept { return enabled_; }
    void enabledIs(bool v) { attributeIs(enabled_, v, enabledId, &NotifieeConst::onEnabled); }
    static double defaultCheckpointInterval() noexcept { return 60.0; }
    double checkpointInterval() const noexcept { return checkpointInterval_; }
    void checkpointIntervalIs(const double& v) {
        attributeIs(checkpointInterval_, v, checkpointIntervalId,
                    &NotifieeConst::onCheckpointInterval);
    }
    static double logMessagePeriod() noexcept { return 30.0; }
    U32 robustness() const noexcept { return robustness_; }
    void robustnessIs(U32 v) {
        attributeIs(robustness_, v, robustnessId, &NotifieeConst::onRobustness);
    }
    static bool defaultIgnoreChecksum() noexcept { return false; }
    bool ignoreChecksum() const noexcept { return ignoreChecksum_; }
    void ignoreChecksumIs(bool v) {
        attributeIs(ignoreChecksum_, v, ignoreChecksumId, &NotifieeConst::onIgnoreChecksum);
    }
    static bool defaultPreserveStreams() noexcept { return false; }
    bool preserveStreams() const noexcept { return preserveStreams_; }
    void preserveStreamsIs(bool v) {
        attributeIs(preserveStreams_, v, preserveStreamsId, &NotifieeConst::onPreserveStreams);
    }
    static bool defaultAllowDestinationReuse() noexcept { return false; }
    bool allowDestinationReuse() const noexcept { return allowDestinationReuse_; }
    void allowDestinationReuseIs(bool v) {
        attributeIs(allowDestinationReuse_, v, allowDestinationReuseId,
                    &NotifieeConst::onAllowDestinationReuse);
    }

    static const Rix::AttributeTable attributes;

  private:
    void egressCheck() const;
    void ingressCheck() const;

    U32 supportedEgressStreams_ = 50000;
    U32 supportedIngressStreams_ = 50000;
    ProbesPerSecond supportedEgressProbeRate_{1000};
    ProbesPerSecond supportedEgressProbeBurstRate_{2000};
    double minSupportedProbeInterval_ = 0.05;
    double rateRecomputeDefer_ = 2.0;
    TransmitterCollection transmitter_;
    U16 maxIngressStreams_;
    U16 maxEgressStreams_;
    U16 destinationPort_ = defaultDestinationPort();
    bool enabled_ = false;
    double checkpointInterval_ = defaultCheckpointInterval();
    U32 robustness_ = 25;
    bool ignoreChecksum_ = defaultIgnoreChecksum();
    bool preserveStreams_ = defaultPreserveStreams();
    bool allowDestinationReuse_ = defaultAllowDestinationReuse();
};

// Makes a Config of the given name for the type registry.
Rix::Ptr<Config> configFactory(const Rix::Name& name);

}  // namespace Sondar
