// Where the project's files are: known answers, lists, sources.
#ifndef VRX_TESTS_SUPPORT_PROJECT_HPP
#define VRX_TESTS_SUPPORT_PROJECT_HPP

#include <string>

namespace vrx::test {

/** The full path of a file or folder that is given from the project's root, as in "tests/tz/sbox.kat". */
std::string in_project(const std::string& path);

}  // namespace vrx::test

#endif
