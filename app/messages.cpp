#include "messages.hpp"

namespace vrx::app {

std::size_t InputSource::read(std::span<std::uint8_t> buffer) {
    const std::size_t got = input_.read(buffer);
    progress_.advance(got);
    return got;
}

void read_document(const Input& input, const char* what, const std::function<void()>& read) {
    try {
        read();
    } catch (const documents::Malformed& error) {
        throw Failure(input.shown() + " cannot be read as " + what + ": " + error.what() +
                      "; name another file, or ask the sender for a new copy");
    }
}

Option HeldContent::option(const char* help) {
    const auto set = [this](const char* given) {
        path_ = given;
        spool_.open();
    };
    return {"out", 'o', "OUT", help, set, Files::written};
}

void HeldContent::open(const std::vector<FileId>& inputs) {
    if (path_) output_.emplace(*path_, inputs);
}

void HeldContent::write(std::span<const std::uint8_t> data) {
    if (!output_) return;
    if (output_->is_direct())
        spool_.write(data);
    else
        output_->write(data);
}

void HeldContent::release() {
    if (!output_) return;
    if (output_->is_direct()) spool_.copy_to(*output_);
    output_->commit();
}

}  // namespace vrx::app
