#include "support/memory_map.hpp"

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

namespace vrx::test {

bool is_read_only(const void* address, std::size_t size) {
    std::uintptr_t next = reinterpret_cast<std::uintptr_t>(address);
    const std::uintptr_t end = next + size;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; next < end && std::getline(maps, line);) {
        std::istringstream fields(line);
        std::uintptr_t from = 0;
        std::uintptr_t to = 0;
        char dash = 0;
        std::string rights;
        fields >> std::hex >> from >> dash >> to >> rights;
        if (next < from || next >= to) continue;
        if (rights.at(0) != 'r' || rights.at(1) == 'w') return false;
        next = to;
    }
    return next >= end;
}

}  // namespace vrx::test
