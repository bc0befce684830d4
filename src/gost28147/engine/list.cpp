#include "gost28147/engine/list.hpp"

#include "gost28147/mesh.hpp"
#include "gost28147/plain.hpp"

namespace vrx::gost28147 {

constinit cpu::Choice<engines> choice;

Way sections_alone(Mode mode, const Run& run, std::uint32_t* key) noexcept {
    Way way = Way::lookups;
    Run rest = run;
    for (Run section = run; rest.blocks != 0; rest.skip(section_blocks)) {
        plain::mesh(run.table, key, run.reg);
        section.in = rest.in;
        section.out = rest.out;
        section.blocks = section_blocks;
        way = engine().parallel(mode, section);
    }
    return way;
}

}  // namespace vrx::gost28147
