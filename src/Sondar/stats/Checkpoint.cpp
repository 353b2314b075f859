#include "Sondar/stats/Checkpoint.h"

namespace Sondar {

double CheckpointInterval::averageInterval() const {
    const U64 sent = probesReceived_ + probesLost_;
    return sent == 0 ? 0.0 : duration_ / static_cast<double>(sent);
}

double EgressCheckpointInterval::averageInterval() const {
    return probesSent_ == 0 ? 0.0 : duration_ / static_cast<double>(probesSent_);
}

}  // namespace Sondar
