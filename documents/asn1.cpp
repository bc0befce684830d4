#include "documents/asn1.hpp"

#include <libtasn1.h>

#include <new>

namespace vrx::documents::asn1 {
namespace {

constexpr asn1_static_node module[] = {
#include "documents/messages_module.inc"
};

/** Throws if libtasn1 reports an error. */
void require(int code, const std::string& what) {
    if (code == ASN1_SUCCESS) return;
    if (code == ASN1_MEM_ALLOC_ERROR) throw std::bad_alloc();
    throw std::logic_error("ASN.1: " + what + ": " + asn1_strerror(code));
}

/** The tree of the definitions in messages.asn. */
class Definitions {
public:
    Definitions() {
        asn1_node node = nullptr;
        require(asn1_array2tree(module, &node, nullptr), "definitions");
        root_ = node;
    }
    Definitions(const Definitions&) = delete;
    Definitions& operator=(const Definitions&) = delete;
    ~Definitions() { asn1_delete_structure(&root_); }
    [[nodiscard]] asn1_node root() const { return root_; }

private:
    asn1_node root_;
};

asn1_node definitions() {
    static const Definitions all;
    return all.root();
}

int size_of(Part octets) { return static_cast<int>(octets.size()); }  // decode() accepts at most 2^31 - 1 octets

}  // namespace

void Value::Delete::operator()(asn1_node_st* node) const { asn1_delete_structure(&node); }

Value::Value(const char* type) {
    asn1_node node = nullptr;
    require(asn1_create_element(definitions(), (std::string("Messages.") + type).c_str(), &node), type);
    node_.reset(node);
}

std::optional<Value> Value::decode(const char* type, Part octets) {
    if (octets.empty() || octets.size() > 0x7FFFFFFF) return std::nullopt;
    Value value(type);
    asn1_node node = value.node_.release();  // after an error, libtasn1 has deleted the structure
    int size = size_of(octets);
    const int code = asn1_der_decoding2(&node, octets.data(), &size, 0, nullptr);
    value.node_.reset(node);
    if (code == ASN1_MEM_ALLOC_ERROR) throw std::bad_alloc();
    if (code != ASN1_SUCCESS) return std::nullopt;
    return value;
}

bool Value::has(const std::string& path) const {
    int size = 0;
    const int code = asn1_read_value(node_.get(), path.c_str(), nullptr, &size);
    return code == ASN1_SUCCESS || code == ASN1_MEM_ERROR;
}

Octets Value::octets(const std::string& path) const {
    int size = 0;
    int code = asn1_read_value(node_.get(), path.c_str(), nullptr, &size);
    if (code == ASN1_ELEMENT_NOT_FOUND || code == ASN1_VALUE_NOT_FOUND) return {};
    if (code != ASN1_MEM_ERROR) {
        require(code, path);
        return {};  // an empty string
    }
    Octets result(static_cast<std::size_t>(size));
    code = asn1_read_value(node_.get(), path.c_str(), result.data(), &size);
    require(code, path);
    result.resize(static_cast<std::size_t>(size));
    return result;
}

std::string Value::oid(const std::string& path) const {
    const Octets text = octets(path);
    // libtasn1 appends a zero to the value.
    return text.empty() ? std::string() : std::string(text.begin(), text.end() - 1);
}

std::optional<std::uint32_t> Value::number(const std::string& path) const { return der::small_number(octets(path)); }

std::size_t Value::count(const std::string& path) const {
    int count = 0;
    const int code = asn1_number_of_elements(node_.get(), path.c_str(), &count);
    if (code == ASN1_ELEMENT_NOT_FOUND) return 0;
    require(code, path);
    return static_cast<std::size_t>(count);
}

Part Value::as_decoded(const std::string& path, Part octets) const {
    int first = 0;
    int last = 0;
    const int code =
        asn1_der_decoding_startEnd(node_.get(), octets.data(), size_of(octets), path.c_str(), &first, &last);
    if (code == ASN1_ELEMENT_NOT_FOUND || code == ASN1_VALUE_NOT_FOUND || last < first) return {};
    require(code, path);
    return octets.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first) + 1);
}

void Value::set(const std::string& path, Part octets) {
    require(asn1_write_value(node_.get(), path.c_str(), octets.data(), size_of(octets)), path);
}

void Value::set(const std::string& path, const char* text) {
    require(asn1_write_value(node_.get(), path.c_str(), text, 1), path);
}

void Value::omit(const std::string& path) { require(asn1_write_value(node_.get(), path.c_str(), nullptr, 0), path); }

void Value::append(const std::string& path) { require(asn1_write_value(node_.get(), path.c_str(), "NEW", 1), path); }

Octets Value::encode() const {
    int size = 0;
    const int code = asn1_der_coding(node_.get(), "", nullptr, &size, nullptr);
    if (code != ASN1_MEM_ERROR) require(code == ASN1_SUCCESS ? ASN1_GENERIC_ERROR : code, "encoding");
    Octets result(static_cast<std::size_t>(size));
    require(asn1_der_coding(node_.get(), "", result.data(), &size, nullptr), "encoding");
    result.resize(static_cast<std::size_t>(size));
    return result;
}

void append(Octets& out, std::uint8_t tag, Part contents) {
    std::array<unsigned char, ASN1_MAX_LENGTH_SIZE> length;
    int size = 0;
    asn1_length_der(contents.size(), length.data(), &size);
    out.push_back(tag);
    out.insert(out.end(), length.begin(), length.begin() + size);
    out.insert(out.end(), contents.begin(), contents.end());
}

Octets encode_oid(const char* dotted) {
    std::array<unsigned char, 64> octets;
    int size = octets.size();
    require(asn1_object_id_der(dotted, octets.data(), &size, 0), dotted);
    return {octets.begin(), octets.begin() + size};
}

}  // namespace vrx::documents::asn1
