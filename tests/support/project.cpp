#include "support/project.hpp"

namespace vrx::test {

std::string in_project(const std::string& path) { return VRX_PROJECT_DIR "/" + path; }

}  // namespace vrx::test
