// Where the project's files are: known answers, lists, sources.
#ifndef VRX_TESTS_SUPPORT_PROJECT_HPP
#define VRX_TESTS_SUPPORT_PROJECT_HPP

#include <string>

namespace vrx::test {

/**
 * Returns the full path of a file or folder, given its path relative to the project's root, such as
 * "tests/tz/sbox.kat".
 */
std::string in_project(const std::string& path);

}  // namespace vrx::test

#endif
