// Uses both installed libraries through the installed headers: an Epoch from the model library
// and the framework's text form, formatter and log handle from the platform layer.
#include <cstdio>
#include <string>

#include "Rix/Format.h"
#include "Rix/Log.h"
#include "Sondar/stats/Epoch.h"

int main() {
    const Sondar::Epoch e(1700000000, 250);
    const std::string text = Rix::valueStrep(e).str();
    const Sondar::Epoch back = Rix::strepToValue<Sondar::Epoch>(text);
    std::string logged;
    Rix::logSinkIs([&](const Rix::LogRecord& r) { logged = r.text; });
    Rix::LogHandle h("DOWNSTREAM", 6, "epoch %s", "e", Rix::NoActionRequired, 0, 1, 0);
    h.log(text);
    const std::string expect =
        "Value('Sondar::Epoch', ** {'seconds': 1700000000, 'useconds': 250})";
    if (!(back == e) || text != expect || logged != "epoch " + expect) {
        std::fprintf(stderr, "downstream: unexpected %s / %s\n", text.c_str(), logged.c_str());
        return 1;
    }
    std::printf("%s\n", Rix::format("downstream ok: %s", text.c_str()).c_str());
    return 0;
}
