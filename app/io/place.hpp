// A name in a folder that is held open.
#ifndef VRX_APP_PLACE_HPP
#define VRX_APP_PLACE_HPP

#include <sys/stat.h>

#include <optional>
#include <string>

namespace vrx::app {

/** A descriptor that is closed with its scope. */
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();
    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] bool is_open() const { return fd_ >= 0; }
    int release();

private:
    int fd_ = -1;
};

/**
 * Where a file is to be written. The folder is opened once, and everything else goes by its descriptor and the name
 * alone, without following links: whoever else can write to the folder, or renames it meanwhile, cannot divert what
 * happens here to another file.
 */
class Place {
public:
    /**
     * Find the place that a path names. A symbolic link at its end is followed when it belongs to this user or to root.
     *
     * @param shown   the path as messages show it.
     * @param follow  false where a link at the end is to be found as a link.
     */
    Place(const std::string& path, const std::string& shown, bool follow);

    [[nodiscard]] int folder() const { return folder_.get(); }
    [[nodiscard]] const char* name() const { return name_.c_str(); }
    /** What is there now: nothing, or what an open descriptor says of it. */
    [[nodiscard]] const std::optional<struct stat>& existing() const { return existing_; }
    /** Whether what was there at first is still there. */
    [[nodiscard]] bool is_unchanged() const;
    /** Whether the path leads through a link of the process file system to a pipe or another open file without a name.
     */
    [[nodiscard]] bool is_magic() const { return magic_; }

private:
    void look(const std::string& shown);
    bool take_link(const std::string& shown);

    Descriptor folder_;
    std::string name_;
    std::optional<struct stat> existing_;
    bool magic_ = false;
};

/** open() relative to a folder, repeated when a signal interrupts it; never the terminal of the process. */
int open_in(int folder, const char* name, int flags, mode_t mode = 0);

}  // namespace vrx::app

#endif
