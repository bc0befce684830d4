// Tests of the log stream and vrx_set_log_file().
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/child_process.hpp"
#include "vrx/frame.h"
#include "vrx/tz.h"

namespace {

namespace fs = std::filesystem;
using vrx::test::passed;
using vrx::test::run_in_child;

const bool log_was_off_at_start = vrxflog == nullptr;

/** One failing call and the line that it writes. */
constexpr const char* failure_line = "TZ_by_name: NULL name\n";
void fail_once() { EXPECT_EQ(TZ_by_name(nullptr), nullptr); }

std::string contents(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/** Runs in an empty temporary folder with the log off; restores both at the end. */
class SetLogFile : public testing::Test {
protected:
    SetLogFile() : before_(fs::current_path()) {
        // mkdtemp() replaces the last six letters of the name.
        std::string name = (fs::temp_directory_path() / ("vrx-log-" + std::string(6, 'X'))).string();
        if (mkdtemp(name.data()) == nullptr) throw fs::filesystem_error("mkdtemp", std::error_code());
        folder_ = name;
        fs::current_path(folder_);
        vrxflog = nullptr;
    }
    ~SetLogFile() override {
        fs::current_path(before_);
        fs::remove_all(folder_);
    }
    void TearDown() override {
        if (vrxflog != nullptr) std::fclose(vrxflog);
        vrxflog = nullptr;
    }

private:
    fs::path before_;
    fs::path folder_;
};

/** A stream that counts how often it is closed. */
class CountingStream {
public:
    CountingStream()
        : stream_(fopencookie(this, "w", {.read = nullptr, .write = write, .seek = nullptr, .close = close})) {}
    CountingStream(const CountingStream&) = delete;
    CountingStream& operator=(const CountingStream&) = delete;
    [[nodiscard]] std::FILE* stream() const { return stream_; }
    [[nodiscard]] int closings() const { return closings_; }
    [[nodiscard]] const std::string& text() const { return text_; }

private:
    static ssize_t write(void* self, const char* data, std::size_t size) {
        static_cast<CountingStream*>(self)->text_.append(data, size);
        return static_cast<ssize_t>(size);
    }
    static int close(void* self) {
        ++static_cast<CountingStream*>(self)->closings_;
        return 0;
    }

    int closings_ = 0;
    std::string text_;
    std::FILE* stream_;
};

bool is_open(int descriptor) { return fcntl(descriptor, F_GETFD) != -1 || errno != EBADF; }

TEST(log_stream, is_off_when_the_process_starts) { EXPECT_TRUE(log_was_off_at_start); }

TEST_F(SetLogFile, creates_a_missing_file) {
    EXPECT_EQ(vrx_set_log_file("new.log"), VRX_OK);
    ASSERT_NE(vrxflog, nullptr);
    fail_once();
    std::fflush(vrxflog);
    EXPECT_EQ(contents("new.log"), failure_line);
}

TEST_F(SetLogFile, appends_to_a_file_that_exists) {
    std::ofstream("old.log") << "kept\n";
    EXPECT_EQ(vrx_set_log_file("old.log"), VRX_OK);
    ASSERT_NE(vrxflog, nullptr);
    EXPECT_EQ(fcntl(fileno(vrxflog), F_GETFL) & (O_ACCMODE | O_APPEND), O_WRONLY | O_APPEND);
    std::rewind(vrxflog);
    fail_once();
    std::fflush(vrxflog);
    EXPECT_EQ(contents("old.log"), std::string("kept\n") + failure_line);
}

TEST_F(SetLogFile, appends_after_lines_of_other_writers) {
    EXPECT_EQ(vrx_set_log_file("shared.log"), VRX_OK);
    std::ofstream("shared.log", std::ios::app) << "another writer\n";
    fail_once();
    std::fflush(vrxflog);
    EXPECT_EQ(contents("shared.log"), std::string("another writer\n") + failure_line);
}

TEST_F(SetLogFile, flushes_and_closes_the_previous_file) {
    EXPECT_EQ(vrx_set_log_file("first.log"), VRX_OK);
    fail_once();
    EXPECT_EQ(vrx_set_log_file("second.log"), VRX_OK);
    EXPECT_EQ(contents("first.log"), failure_line);
    fail_once();
    fail_once();
    std::fflush(vrxflog);
    EXPECT_EQ(contents("first.log"), failure_line);
    EXPECT_EQ(contents("second.log"), std::string(failure_line) + failure_line);
}

TEST_F(SetLogFile, closes_the_previous_file_before_it_opens_the_next) {
    EXPECT_EQ(vrx_set_log_file("first.log"), VRX_OK);
    const int descriptor = fileno(vrxflog);
    EXPECT_EQ(vrx_set_log_file("second.log"), VRX_OK);
    EXPECT_EQ(fileno(vrxflog), descriptor) << "the descriptor is reused";
}

TEST_F(SetLogFile, set_again_to_the_same_file_appends) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(vrx_set_log_file("same.log"), VRX_OK);
        fail_once();
    }
    std::fflush(vrxflog);
    EXPECT_EQ(contents("same.log"), std::string(failure_line) + failure_line + failure_line);
}

TEST_F(SetLogFile, closes_a_stream_that_the_host_assigned_exactly_once) {
    for (const char* path : {static_cast<const char*>(nullptr), "next.log", "no/such/folder.log"}) {
        CountingStream host;
        vrxflog = host.stream();
        fail_once();
        EXPECT_EQ(host.closings(), 0);
        EXPECT_EQ(vrx_set_log_file(path), VRX_OK);
        EXPECT_EQ(host.closings(), 1);
        EXPECT_EQ(host.text(), failure_line);
        EXPECT_NE(vrxflog, host.stream());
    }
}

TEST_F(SetLogFile, null_path_closes_the_stream_and_turns_the_log_off) {
    EXPECT_EQ(vrx_set_log_file("first.log"), VRX_OK);
    const int descriptor = fileno(vrxflog);
    fail_once();
    EXPECT_EQ(vrx_set_log_file(nullptr), VRX_OK);
    EXPECT_EQ(vrxflog, nullptr);
    EXPECT_FALSE(is_open(descriptor));
    fail_once();
    EXPECT_EQ(contents("first.log"), failure_line);
}

TEST_F(SetLogFile, null_path_with_the_log_off_changes_nothing) {
    EXPECT_EQ(vrx_set_log_file(nullptr), VRX_OK);
    EXPECT_EQ(vrxflog, nullptr);
    EXPECT_EQ(vrx_set_log_file(nullptr), VRX_OK);
    EXPECT_EQ(vrxflog, nullptr);
}

TEST_F(SetLogFile, unusable_path_turns_the_log_off_silently) {
    fs::create_directory("folder");
    const std::string too_long(5000, 'x');
    for (const char* path : {"no/such/folder.log", "folder", "", too_long.c_str()}) {
        const auto child = run_in_child([&] {
            EXPECT_EQ(vrx_set_log_file("first.log"), VRX_OK);
            const int descriptor = fileno(vrxflog);
            EXPECT_EQ(vrx_set_log_file(path), VRX_OK);
            EXPECT_EQ(vrxflog, nullptr);
            EXPECT_FALSE(is_open(descriptor)) << "the previous stream is closed nevertheless";
            fail_once();
        });
        EXPECT_TRUE(passed(child)) << path;
        EXPECT_EQ(child.out + child.err, "") << path;
    }
    EXPECT_EQ(contents("first.log"), "");
}

TEST_F(SetLogFile, log_can_be_set_again_after_an_unusable_path) {
    EXPECT_EQ(vrx_set_log_file("no/such/folder.log"), VRX_OK);
    EXPECT_EQ(vrx_set_log_file("good.log"), VRX_OK);
    fail_once();
    EXPECT_EQ(vrx_set_log_file(nullptr), VRX_OK);
    EXPECT_EQ(contents("good.log"), failure_line);
}

TEST_F(SetLogFile, names_similar_to_stderr_are_file_names) {
    for (const std::string name :
         {"stderrx", "stderr ", " stderr", "stder", "s", "STDERR", "stderR", "stdout", "stderr.log"}) {
        // The text ends exactly at the end of its allocation, so a read beyond its end is detected.
        const std::vector<char> path(name.c_str(), name.c_str() + name.size() + 1);
        const auto child = run_in_child([&] {
            EXPECT_EQ(vrx_set_log_file(path.data()), VRX_OK);
            ASSERT_NE(vrxflog, nullptr);
            EXPECT_NE(vrxflog, stderr);
            fail_once();
        });
        EXPECT_TRUE(passed(child)) << name;
        EXPECT_EQ(child.err, "") << name;
        EXPECT_EQ(contents(name), failure_line) << name;
    }
    EXPECT_FALSE(fs::exists("stderr"));
}

TEST_F(SetLogFile, stderr_means_the_standard_error_stream) {
    const auto child = run_in_child([] {
        const char path[] = "stderr\0x";
        EXPECT_EQ(vrx_set_log_file(path), VRX_OK);
        EXPECT_EQ(vrxflog, stderr);
        fail_once();
        fail_once();
    });
    EXPECT_TRUE(passed(child));
    EXPECT_EQ(child.err, std::string(failure_line) + failure_line);
    EXPECT_EQ(child.out, "");
    EXPECT_FALSE(fs::exists("stderr")) << "no file of that name";
}

TEST_F(SetLogFile, stderr_set_twice_closes_standard_error) {
    const auto child = run_in_child([] {
        EXPECT_EQ(vrx_set_log_file("stderr"), VRX_OK);
        fail_once();
        EXPECT_TRUE(is_open(STDERR_FILENO));
        // Deliberate: the function closes the previous stream, then uses the closed stream.
        EXPECT_EQ(vrx_set_log_file("stderr"), VRX_OK);
        EXPECT_EQ(vrxflog, stderr);
        EXPECT_FALSE(is_open(STDERR_FILENO));
        vrxflog = nullptr;
    });
    EXPECT_TRUE(passed(child));
    EXPECT_EQ(child.err, failure_line);
}

TEST_F(SetLogFile, file_after_stderr_closes_standard_error_first) {
    const auto child = run_in_child([] {
        EXPECT_EQ(vrx_set_log_file("stderr"), VRX_OK);
        EXPECT_EQ(vrx_set_log_file("after.log"), VRX_OK);
        ASSERT_NE(vrxflog, nullptr);
        EXPECT_EQ(fileno(vrxflog), STDERR_FILENO) << "the descriptor is reused";
        fail_once();
    });
    EXPECT_TRUE(passed(child));
    EXPECT_EQ(child.err, "");
    EXPECT_EQ(contents("after.log"), failure_line);
}

TEST_F(SetLogFile, null_path_after_stderr_closes_standard_error) {
    const auto child = run_in_child([] {
        EXPECT_EQ(vrx_set_log_file("stderr"), VRX_OK);
        EXPECT_EQ(vrx_set_log_file(nullptr), VRX_OK);
        EXPECT_EQ(vrxflog, nullptr);
        EXPECT_FALSE(is_open(STDERR_FILENO));
    });
    EXPECT_TRUE(passed(child));
}

TEST_F(SetLogFile, standard_error_stays_open_if_a_file_was_set) {
    const auto child = run_in_child([] {
        EXPECT_EQ(vrx_set_log_file("file.log"), VRX_OK);
        EXPECT_EQ(vrx_set_log_file("stderr"), VRX_OK);
        EXPECT_TRUE(is_open(STDERR_FILENO));
        fail_once();
    });
    EXPECT_TRUE(passed(child));
    EXPECT_EQ(child.err, failure_line);
    EXPECT_EQ(contents("file.log"), "");
}

TEST_F(SetLogFile, assigning_null_keeps_the_previous_stream_open) {
    CountingStream host;
    vrxflog = host.stream();
    vrxflog = nullptr;
    EXPECT_EQ(vrx_set_log_file("file.log"), VRX_OK);
    EXPECT_EQ(host.closings(), 0);
    std::fclose(host.stream());
}

}  // namespace
