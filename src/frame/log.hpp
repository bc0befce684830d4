// The shapes of the diagnostics log. Each function writes one text to vrxflog, if that is set, and returns the code.
#ifndef VRX_FRAME_LOG_HPP
#define VRX_FRAME_LOG_HPP

#include "vrx/frame.h"

namespace vrx::log {

/** Not constexpr: a name that leads here does not compile. Never defined. */
void not_an_identifier();

/** The name of a function, a literal: a few messages name another function than the one that writes them. */
struct Name {
    const char* text;

    // Not explicit: a call site writes the literal alone. A text that is no identifier does not compile.
    consteval Name(const char* literal) : text(literal) {  // NOLINT(google-explicit-constructor)
        for (const char* c = literal; *c != 0; ++c)
            if (!(*c == '_' || (*c >= '0' && *c <= '9') || (*c >= 'A' && *c <= 'Z') || (*c >= 'a' && *c <= 'z')))
                not_an_identifier();
    }
};

[[nodiscard]] int bad_params(Name self, int code = VRX_ERR_BAD_PARAMS);  ///< "f: bad params\n"
[[nodiscard]] int null_data(Name self, int code = VRX_ERR_BAD_PARAMS);   ///< "f: NULL data pointer\n"
[[nodiscard]] int condition(Name self, const char* what, int code);      ///< "f: what\n"
void condition(Name self, const char* what);                             ///< "f: what\n", where a look-up fails
void condition(Name self, const char* what, const char* subject);        ///< "f: what subject\n"
[[nodiscard]] int failed(Name callee, int rc);                           ///< "g failed, rc = 0x%x\n"
[[nodiscard]] int failed(Name callee, int site, int rc);                 ///< "g #2 failed, rc = 0x%x\n"
[[nodiscard]] int failed_step(Name step, int code);                      ///< "g failed\n"
[[nodiscard]] int text(const char* line, int code);                      ///< "line\n"
[[nodiscard]] int returned(Name callee, int rc);                         ///< "g returned 0x%x", no line end

}  // namespace vrx::log

#endif
