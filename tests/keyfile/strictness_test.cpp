// Damaged key files: each change of a published file is refused, or gives another key.
#include <algorithm>

#include "key_files.hpp"

namespace {

using namespace vrx::test;

/** The positions of a file's octets that may change without a change of the key: the contents of attributes. */
std::vector<bool> ignored_octets(const KeyFile& file) {
    std::vector<bool> ignored(file.der.size(), false);
    const Bytes head = unhex("a0383036");
    const auto attributes = std::search(file.der.begin(), file.der.end(), head.begin(), head.end());
    if (attributes != file.der.end())
        std::fill(ignored.begin() + (attributes + 2 - file.der.begin()), ignored.end(), true);
    return ignored;
}

/** Checks that a changed file is refused or gives another key. @return whether it is refused. */
template <typename Key>
bool refused_or_different(const Bytes& original, const Bytes& changed) {
    Key key, other;
    EXPECT_EQ(read_from(original.data(), original.size(), key), VRX_OK);
    if (read_from(changed.data(), changed.size(), other) != VRX_OK) return true;
    EXPECT_FALSE(same(key, other));
    return false;
}
bool refused_or_different(const KeyFile& file, const Bytes& changed) {
    return file.is_private ? refused_or_different<vrx_private_key>(file.der, changed)
                           : refused_or_different<vrx_public_key>(file.der, changed);
}

TEST(strictness, every_changed_octet_is_noticed) {
    for (const KeyFile& file : published_keys()) {
        SCOPED_TRACE(file.name);
        const std::vector<bool> ignored = ignored_octets(file);
        std::size_t accepted = 0;
        for (std::size_t at = 0; at < file.der.size(); ++at) {
            if (ignored[at]) continue;
            // 13 and 62 at the end of the algorithm's identifier mean the same.
            const bool of_algorithm =
                at >= 5 && hex({&file.der[at - 5], 5}) == "2a85030202" && hex({&file.der[at - 7], 2}) == "0606";
            for (unsigned value = 0; value < 0x100; ++value) {
                Bytes changed = file.der;
                changed[at] = static_cast<std::uint8_t>(value);
                if (value == file.der[at] || (of_algorithm && (value == 0x13 || value == 0x62 || value == 0x09)))
                    continue;
                if (!refused_or_different(file, changed)) ++accepted;
            }
        }
        // Of private keys, any other number below q is a key, too. No other octets are a point.
        if (file.is_private) {
            EXPECT_GT(accepted, 31U * 255);
        } else
            EXPECT_LE(accepted, 2U) << "the other parameter set of the hash, and of the cipher";
    }
}

TEST(strictness, truncated_and_extended_files_are_refused) {
    for (const KeyFile& file : published_keys()) {
        SCOPED_TRACE(file.name);
        const std::string label = file.is_private ? "PRIVATE KEY" : "PUBLIC KEY";
        for (std::size_t size = 0; size < file.der.size(); ++size) {
            const Bytes cut(file.der.begin(), file.der.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_EQ(result(file, cut), size == 0 ? "VRX_ERR_KEY_FILE" : "VRX_ERR_KEY_DER") << size;
            EXPECT_EQ(result(file, bytes_of(pem(label, cut))), "VRX_ERR_KEY_DER") << size;
        }
        for (const Bytes& more : {Bytes{0}, Bytes{'\n'}, unhex("0500"), file.der}) {
            EXPECT_EQ(result(file, join({file.der, more})), "VRX_ERR_KEY_DER");
            EXPECT_EQ(result(file, bytes_of(pem(label, join({file.der, more})))), "VRX_ERR_KEY_DER");
        }
    }
}

TEST(strictness, inserted_and_removed_octets_are_noticed) {
    for (const KeyFile& file : published_keys()) {
        SCOPED_TRACE(file.name);
        for (std::size_t at = 0; at < file.der.size(); ++at) {
            Bytes changed = file.der;
            changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(at));
            EXPECT_TRUE(refused_or_different(file, changed)) << at;
            for (const std::uint8_t value : unhex("00013080ff")) {
                changed = file.der;
                changed.insert(changed.begin() + static_cast<std::ptrdiff_t>(at), value);
                EXPECT_TRUE(refused_or_different(file, changed)) << at;
            }
        }
    }
}

/** How an element's length is written. */
enum class Length { shortest, one_octet, two_octets, three_octets, indefinite };

/** Where the encoder stands in a file. */
struct Recoding {
    std::size_t target;  // the element whose length is written otherwise, in the order of the file
    Length length;
    std::size_t seen = 0;
};

/** Encodes elements again. The contents of strings may be elements, too: those of the key. */
Bytes recoded(const Bytes& elements, Recoding& how, int depth = 0) {
    Bytes out;
    std::size_t at = 0;
    while (at < elements.size()) {
        const std::uint8_t tag = elements[at];
        std::size_t size = elements[at + 1];
        at += 2;
        if (size == 0x81) size = elements[at++];
        Bytes contents(elements.begin() + static_cast<std::ptrdiff_t>(at),
                       elements.begin() + static_cast<std::ptrdiff_t>(at + size));
        at += size;
        const bool chosen = how.seen++ == how.target;
        const bool wraps = tag == 0x04 && depth == 1 && size > 32;
        if ((tag & 0x20) != 0 || wraps) contents = recoded(contents, how, depth + 1);
        if (tag == 0x03 && size == 67)
            contents = join({{0}, recoded({contents.begin() + 1, contents.end()}, how, depth + 1)});
        const auto low = static_cast<std::uint8_t>(contents.size());
        const Bytes whole = element(tag, {contents});
        const Length length = chosen ? how.length : Length::shortest;
        const Bytes head = length == Length::one_octet      ? Bytes{tag, 0x81, low}
                           : length == Length::two_octets   ? Bytes{tag, 0x82, 0, low}
                           : length == Length::three_octets ? Bytes{tag, 0x83, 0, 0, low}
                           : length == Length::indefinite
                               ? Bytes{tag, 0x80}
                               : Bytes(whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(contents.size()));
        out = join({out, head, contents, length == Length::indefinite ? Bytes{0, 0} : Bytes{}});
    }
    return out;
}

TEST(strictness, every_length_must_be_in_its_shortest_form) {
    for (const KeyFile& file : published_keys()) {
        SCOPED_TRACE(file.name);
        Recoding same_again{~std::size_t{0}, Length::shortest};
        ASSERT_EQ(recoded(file.der, same_again), file.der);
        EXPECT_GE(same_again.seen, 7U);
        for (std::size_t target = 0; target < same_again.seen; ++target)
            for (const Length length :
                 {Length::one_octet, Length::two_octets, Length::three_octets, Length::indefinite}) {
                Recoding how{target, length};
                const Bytes changed = recoded(file.der, how);
                if (target == 0 && length == Length::one_octet && changed.size() > 0x82)
                    continue;  // it is the shortest
                // The contents of attributes are ignored.
                if (file.name.starts_with("engine") && target + 4 >= same_again.seen) continue;
                EXPECT_EQ(result(file, changed), "VRX_ERR_KEY_DER") << target << ", " << static_cast<int>(length);
            }
    }
}

TEST(strictness, only_the_expected_tags_are_accepted) {
    for (const KeyFile& file : published_keys()) {
        SCOPED_TRACE(file.name);
        for (const std::uint8_t tag : unhex("02030405062430317fa0a1b0")) {
            Bytes changed = file.der;
            if (changed[0] == tag) continue;
            changed[0] = tag;
            EXPECT_EQ(result(file, changed), "VRX_ERR_KEY_FILE") << unsigned{tag};
        }
    }
}

}  // namespace
