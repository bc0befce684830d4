// Reads messages from files. Holds back their content until it has been checked.
#ifndef VRX_APP_MESSAGES_HPP
#define VRX_APP_MESSAGES_HPP

#include <functional>
#include <optional>
#include <string>

#include "documents/source.hpp"
#include "io/files.hpp"
#include "io/progress.hpp"
#include "io/spool.hpp"
#include "options.hpp"

namespace vrx::app {

/** An input file as the source of a document. Shows the progress. */
class InputSource : public documents::Source {
public:
    explicit InputSource(Input& input) : input_(input), progress_(input) {}
    [[nodiscard]] std::size_t read(std::span<std::uint8_t> buffer) override;

private:
    Input& input_;
    Progress progress_;
};

/**
 * Read a document with a function. If it is malformed, throw a Failure that names the file.
 *
 * @param what  the document, e.g. "a signed message".
 */
void read_document(const Input& input, const char* what, const std::function<void()>& read);

/**
 * The content of a message. It is written to its place only after it has been checked: a file gets its name at that
 * time, and data for standard output, a pipe or a device is stored in a temporary file until then.
 */
class HeldContent {
public:
    /** The option for the place. Without it, the content is not written. */
    [[nodiscard]] Option option(const char* help);
    /** The value of the option. */
    [[nodiscard]] const std::optional<std::string>& path() const { return path_; }

    /** Open the place, if there is one. @param inputs  the files that the command reads. */
    void open(const std::vector<FileId>& inputs);
    void write(std::span<const std::uint8_t> data);
    /** Write the content to its place. Without this call, nothing is written. */
    void release();

private:
    std::optional<std::string> path_;
    std::optional<Output> output_;
    Spool spool_;
};

}  // namespace vrx::app

#endif
