// Engines that this CPU supports, and how to select one.
#ifndef VRX_TESTS_SUPPORT_OFFERED_HPP
#define VRX_TESTS_SUPPORT_OFFERED_HPP

#include <algorithm>
#include <string_view>
#include <type_traits>
#include <vector>

#include "frame/choice.hpp"
#include "frame/engines.hpp"

namespace vrx::test {

/** Returns whether this CPU supports an engine. */
inline bool offered(const cpu::EngineInfo& e) { return cpu::offers(e.needs); }

/** The supported engines of a family, best first. */
template <typename List>
auto offered_of(const List& engines) {
    std::vector<decltype(&cpu::engine_of(*std::begin(engines)))> here;
    for (const auto& e : engines)
        if (offered(cpu::engine_of(e))) here.push_back(&cpu::engine_of(e));
    return here;
}

/** Finds an engine by name; nullptr if there is none. */
template <typename List>
auto offered_named(const List& engines, std::string_view name) {
    const auto here = offered_of(engines);
    const auto found = std::ranges::find_if(here, [&](auto* e) { return e->name == name; });
    return found == here.end() ? nullptr : *found;
}

/** Selects an engine during its lifetime. `choice` is the cpu::Choice of the engine's family. */
template <auto& choice>
class WithEngine {
public:
    using Engine = typename std::remove_cvref_t<decltype(choice)>::Engine;
    explicit WithEngine(const Engine& e) : before_(choice()) { choice.use(e); }
    ~WithEngine() { choice.use(before_); }
    WithEngine(const WithEngine&) = delete;
    WithEngine& operator=(const WithEngine&) = delete;

private:
    const Engine& before_;
};

}  // namespace vrx::test

#endif
