#include "Sondar/config/Config.h"

namespace Sondar {

using C = Config;

const Rix::AttributeTable Config::attributes{
    true,
    {
        Rix::settable<&C::supportedEgressStreams, &C::supportedEgressStreamsIs>(
            supportedEgressStreamsId, "supportedEgressStreams"),
        Rix::settable<&C::supportedIngressStreams, &C::supportedIngressStreamsIs>(
            supportedIngressStreamsId, "supportedIngressStreams"),
        Rix::settable<&C::supportedEgressProbeRate, &C::supportedEgressProbeRateIs>(
            supportedEgressProbeRateId, "supportedEgressProbeRate"),
        Rix::settable<&C::supportedEgressProbeBurstRate, &C::supportedEgressProbeBurstRateIs>(
            supportedEgressProbeBurstRateId, "supportedEgressProbeBurstRate"),
        Rix::settable<&C::minSupportedProbeInterval, &C::minSupportedProbeIntervalIs>(
            minSupportedProbeIntervalId, "minSupportedProbeInterval"),
        Rix::settable<&C::rateRecomputeDefer, &C::rateRecomputeDeferIs>(rateRecomputeDeferId,
                                                                        "rateRecomputeDefer"),
        Rix::collection<&C::transmitter_>(transmitterId, "transmitter"),
        Rix::derived<&C::defaultMaxIngressStreams>(defaultMaxIngressStreamsId,
                                                   "defaultMaxIngressStreams"),
        Rix::settable<&C::maxIngressStreams, &C::maxIngressStreamsIs>(maxIngressStreamsId,
                                                                      "maxIngressStreams"),
        Rix::derived<&C::defaultMaxEgressStreams>(defaultMaxEgressStreamsId,
                                                  "defaultMaxEgressStreams"),
        Rix::settable<&C::maxEgressStreams, &C::maxEgressStreamsIs>(maxEgressStreamsId,
                                                                    "maxEgressStreams"),
        Rix::constant<&C::defaultDestinationPort>(defaultDestinationPortId,
                                                  "defaultDestinationPort"),
        Rix::settable<&C::destinationPort, &C::destinationPortIs>(destinationPortId,
                                                                  "destinationPort"),
        Rix::settable<&C::enabled, &C::enabledIs>(enabledId, "enabled"),
        Rix::constant<&C::defaultCheckpointInterval>(defaultCheckpointIntervalId,
                                                     "defaultCheckpointInterval"),
        Rix::settable<&C::checkpointInterval, &C::checkpointIntervalIs>(checkpointIntervalId,
                                                                        "checkpointInterval"),
        Rix::constant<&C::logMessagePeriod>(logMessagePeriodId, "logMessagePeriod"),
        Rix::settable<&C::robustness, &C::robustnessIs>(robustnessId, "robustness"),
        Rix::constant<&C::defaultIgnoreChecksum>(defaultIgnoreChecksumId, "defaultIgnoreChecksum"),
        Rix::settable<&C::ignoreChecksum, &C::ignoreChecksumIs>(ignoreChecksumId, "ignoreChecksum"),
        Rix::constant<&C::defaultPreserveStreams>(defaultPreserveStreamsId,
                                                  "defaultPreserveStreams"),
        Rix::settable<&C::preserveStreams, &C::preserveStreamsIs>(preserveStreamsId,
                                                                  "preserveStreams"),
        Rix::constant<&C::defaultAllowDestinationReuse>(defaultAllowDestinationReuseId,
                                                        "defaultAllowDestinationReuse"),
        Rix::settable<&C::allowDestinationReuse, &C::allowDestinationReuseIs>(
            allowDestinationReuseId, "allowDestinationReuse"),
    }};

Config::Config(const Rix::Name& name)
    : Entity(name, attributes),
      maxIngressStreams_(static_cast<U16>(supportedIngressStreams_)),
      maxEgressStreams_(static_cast<U16>(supportedEgressStreams_)) {
    egressCheck();
    ingressCheck();
}

void Config::egressCheck() const {
    if (maxEgressStreams_ > supportedEgressStreams_) {
        throw Rix::RangeException(
            "Config::maxEgressStreams > Config::supportedEgressStreams not allowed");
    }
}

void Config::ingressCheck() const {
    if (maxIngressStreams_ > supportedIngressStreams_) {
        throw Rix::RangeException(
            "Config::maxIngressStreams > Config::supportedIngressStreams not allowed");
    }
}

void Config::supportedEgressStreamsIs(U32 v) {
    attributeIs(supportedEgressStreams_, v, supportedEgressStreamsId,
                &NotifieeConst::onSupportedEgressStreams, [this] { egressCheck(); });
}

void Config::supportedIngressStreamsIs(U32 v) {
    attributeIs(supportedIngressStreams_, v, supportedIngressStreamsId,
                &NotifieeConst::onSupportedIngressStreams, [this] { ingressCheck(); });
}

void Config::maxEgressStreamsIs(U16 v) {
    attributeIs(maxEgressStreams_, v, maxEgressStreamsId, &NotifieeConst::onMaxEgressStreams,
                [this] { egressCheck(); });
}

void Config::maxIngressStreamsIs(U16 v) {
    attributeIs(maxIngressStreams_, v, maxIngressStreamsId, &NotifieeConst::onMaxIngressStreams,
                [this] { ingressCheck(); });
}

Rix::Ptr<Config> configFactory(const Rix::Name& name) { return Rix::Ptr<Config>(new Config(name)); }

}  // namespace Sondar
