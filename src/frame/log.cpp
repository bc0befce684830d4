// The diagnostics log.
#include "frame/log.hpp"

#include <cstdio>

namespace vrx::log {

int bad_params(Name self, int code) { return condition(self, "bad params", code); }

int null_data(Name self, int code) { return condition(self, "NULL data pointer", code); }

int condition(Name self, const char* what, int code) {
    condition(self, what);
    return code;
}

void condition(Name self, const char* what) {
    if (vrxflog != nullptr) std::fprintf(vrxflog, "%s: %s\n", self.text, what);
}

void condition(Name self, const char* what, const char* subject) {
    if (vrxflog != nullptr) std::fprintf(vrxflog, "%s: %s %s\n", self.text, what, subject);
}

int failed(Name callee, int rc) {
    if (vrxflog != nullptr) std::fprintf(vrxflog, "%s failed, rc = 0x%x\n", callee.text, static_cast<unsigned>(rc));
    return rc;
}

int failed(Name callee, int site, int rc) {
    if (vrxflog != nullptr)
        std::fprintf(vrxflog, "%s #%d failed, rc = 0x%x\n", callee.text, site, static_cast<unsigned>(rc));
    return rc;
}

int failed_step(Name step, int code) {
    if (vrxflog != nullptr) std::fprintf(vrxflog, "%s failed\n", step.text);
    return code;
}

int text(const char* line, int code) {
    if (vrxflog != nullptr) std::fprintf(vrxflog, "%s\n", line);
    return code;
}

int returned(Name callee, int rc) {
    if (vrxflog != nullptr) std::fprintf(vrxflog, "%s returned 0x%x", callee.text, static_cast<unsigned>(rc));
    return rc;
}

}  // namespace vrx::log
