// A place for an output file: a name in a folder that stays open.
#ifndef VRX_APP_PLACE_HPP
#define VRX_APP_PLACE_HPP

#include <sys/stat.h>

#include <optional>
#include <string>

namespace vrx::app {

/** A file descriptor that is closed at the end of its scope. */
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
 * The place where a file is to be written. The folder is opened once; all further access uses its descriptor and the
 * name, and follows no links. Other users who can write to the folder, or rename it, cannot redirect this access to
 * another file.
 */
class Place {
public:
    /**
     * Resolve a path. A symbolic link at its end is followed if it belongs to this user or to root.
     *
     * @param shown   the path in messages.
     * @param follow  if false, a symbolic link at the end is not followed: the place is that of the link itself.
     */
    Place(const std::string& path, const std::string& shown, bool follow);

    [[nodiscard]] int folder() const { return folder_.get(); }
    [[nodiscard]] const char* name() const { return name_.c_str(); }
    /** The status of the existing file, from an open descriptor; std::nullopt if there is none. */
    [[nodiscard]] const std::optional<struct stat>& existing() const { return existing_; }
    /** True if the name still belongs to the file that was found first. */
    [[nodiscard]] bool is_unchanged() const;
    /** True if the path is a link in /proc to a pipe or another open file without a name. */
    [[nodiscard]] bool is_magic() const { return magic_; }

private:
    void look(const std::string& shown);
    bool take_link(const std::string& shown);

    Descriptor folder_;
    std::string name_;
    Descriptor found_;  // the existing file, not opened for access
    std::optional<struct stat> existing_;
    bool magic_ = false;
};

/** openat() that retries after signals and never acquires a controlling terminal. */
int open_in(int folder, const char* name, int flags, mode_t mode = 0);

}  // namespace vrx::app

#endif
