// The exported generators of parameter records. They print numbers and tables as source code to standard output.
#include "ecc/generate.hpp"

#include <cstdio>

#include "ecc/domain.hpp"
#include "vrx/frame.h"

namespace vrx::ecc {
namespace {

/** Prints nine digits on a line, the least significant first. */
void print_digits(const std::uint32_t* digits) {
    for (unsigned i = 0; i + 1 < digit_count; ++i) std::printf("0x%.8x, ", digits[i]);
    std::printf("0x%.8x\n", digits[digit_count - 1]);
}

constexpr std::size_t text_capacity = 1024;

void print_decimal(const char* name, const std::uint32_t* digits) {
    char text[text_capacity];
    mpConvToDecimal(digits, digit_count, text, sizeof text);
    std::printf("%s = %s\n", name, text);
}

void print_coordinate(const std::uint32_t* digits) {
    std::printf("        {\n            ");
    print_digits(digits);
    std::printf("        },\n");
}

}  // namespace

bool generate_numbers(EcParamSet& set, const DecimalSet& decimal, BasePoint base_point) {
    std::printf("\nCryptoPro GOST R 34.10-2001 %s Parameter Set\n", decimal.heading);
    const struct {
        const char* name;
        std::uint32_t* digits;
        const char* text;
    } numbers[] = {
        {"E.a", set.a, decimal.a}, {"E.b", set.b, decimal.b}, {"E.p", set.p, decimal.p}, {"ex", set.q, decimal.q}};
    for (const auto& number : numbers) {
        mpConvFromDecimal(number.digits, digit_count, number.text);
        print_decimal(number.name, number.digits);
        print_digits(number.digits);
    }
    epConvFromDecimal(&set.G, decimal.x, decimal.y);
    print_decimal("bp.x", set.G.x);
    if (base_point == BasePoint::line_by_line) print_digits(set.G.x);
    print_decimal("bp.y", set.G.y);
    if (base_point == BasePoint::together) print_digits(set.G.x);
    print_digits(set.G.y);
    return on_curve(set, set.G);
}

}  // namespace vrx::ecc

using namespace vrx::ecc;

int epInitParams(void) {
    std::printf("%s\n", vrx_copyright_notice());
    const auto decimals = decimal_sets();
    for (unsigned i = 0; i < VRX_ECC_SET_COUNT; ++i)
        // Deliberate: for the Test set, the digits of the base point appear between its decimal lines.
        if (!generate_numbers(cp_ecc_par[i], decimals[i], i == 0 ? BasePoint::line_by_line : BasePoint::together))
            return VRX_ERR_FAILED;
    return VRX_OK;
}

int epCalcPP(EcParamSet* set) {
    std::printf("{\n");
    for (unsigned m = 0; m < VRX_ECC_PP_COUNT; ++m) {
        Number power{};
        power.digits[m / 8] = 1u << 4 * (m % 8);
        set->pp[m] =
            with_domain(*set, [&](const auto& domain) { return to_record(jacobian_multiple(domain, set->G, power)); });
        std::printf("    {\n");
        print_coordinate(set->pp[m].x);
        print_coordinate(set->pp[m].y);
        std::printf("    },\n");
    }
    std::printf("},\n");
    return VRX_OK;
}
