// Messages of the diagnostics log. Each function writes one message to vrxflog, if set, and returns the code.
#ifndef VRX_FRAME_LOG_HPP
#define VRX_FRAME_LOG_HPP

#include "vrx/frame.h"

namespace vrx::log {

/** Called for an invalid name. Neither constexpr nor defined, so such a name does not compile. */
void not_an_identifier();

/**
 * The name of a function in a message, as a literal. Some functions write the name of another function into their
 * messages.
 */
struct Name {
    const char* text;

    // Not explicit, so that callers pass the literal. A text that is not an identifier does not compile.
    consteval Name(const char* literal) : text(literal) {  // NOLINT(google-explicit-constructor)
        for (const char* c = literal; *c != 0; ++c)
            if (!(*c == '_' || (*c >= '0' && *c <= '9') || (*c >= 'A' && *c <= 'Z') || (*c >= 'a' && *c <= 'z')))
                not_an_identifier();
    }
};

[[nodiscard]] int bad_params(Name self, int code = VRX_ERR_BAD_PARAMS);  ///< "f: bad params\n"
[[nodiscard]] int null_data(Name self, int code = VRX_ERR_BAD_PARAMS);   ///< "f: NULL data pointer\n"
[[nodiscard]] int condition(Name self, const char* what, int code);      ///< "f: what\n"
void condition(Name self, const char* what);                             ///< "f: what\n", for a failed look-up
void condition(Name self, const char* what, const char* subject);        ///< "f: what subject\n"
[[nodiscard]] int failed(Name callee, int rc);                           ///< "g failed, rc = 0x%x\n"
[[nodiscard]] int failed(Name callee, int site, int rc);                 ///< "g #2 failed, rc = 0x%x\n"
[[nodiscard]] int failed_step(Name step, int code);                      ///< "g failed\n"
[[nodiscard]] int text(const char* line, int code);                      ///< "line\n"
[[nodiscard]] int returned(Name callee, int rc);                         ///< "g returned 0x%x", no newline

}  // namespace vrx::log

#endif
