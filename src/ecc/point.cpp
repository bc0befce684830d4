// The exported functions on points: comparison, conversion, addition and doubling.
#include "ecc/point.hpp"

using namespace vrx::ecc;

namespace {

Jacobian<Residue> load(const EcPointJ& p, const EcParamSet& set) { return {{p.x, set.p}, {p.y, set.p}, {p.z, set.p}}; }

void store(EcPointJ* record, const Jacobian<Residue>& p) {
    store(record->x, p.x.number());
    store(record->y, p.y.number());
    store(record->z, p.z.number());
}

}  // namespace

std::uint32_t epIsEqual(const EcPoint* P, const EcPoint* Q) {
    return mpEqual(P->x, Q->x, digit_count) != 0 && mpEqual(P->y, Q->y, digit_count) != 0;
}

std::uint32_t epIsZero(const EcPoint* P) {
    return mpIsZero(P->x, digit_count) != 0 && mpIsZero(P->y, digit_count) != 0;
}

std::uint32_t epSetZero(EcPoint* P) {
    *P = EcPoint{};
    return 0;
}

std::uint32_t epSetEqual(EcPoint* R, const EcPoint* P) {
    *R = *P;
    return 0;
}

std::uint32_t epA2J(EcPointJ* R, const EcPoint* P) {
    mpSetEqual(R->x, P->x, digit_count);
    mpSetEqual(R->y, P->y, digit_count);
    mpSetDigit(R->z, 1, digit_count);
    return 0;
}

std::uint32_t epJ2A(EcPoint* R, const EcPointJ* P, const EcParamSet* set) {
    *R = to_record(to_affine(load(*P, *set)));
    return 0;
}

std::uint32_t epDublJ(EcPointJ* R, const EcPointJ* P, const EcParamSet* set) {
    store(R, twice(load(*P, *set)));
    return 0;
}

std::uint32_t epAddJA(EcPointJ* R, const EcPointJ* P, const EcPoint* Q, const EcParamSet* set) {
    store(R, sum(load(*P, *set), load(*Q, *set)));
    return 0;
}

std::uint32_t epAddJChud(EcPointJ* R, const EcPointJ* P, const EcPointJ* Q, const EcParamSet* set) {
    store(R, sum(load(*P, *set), load(*Q, *set)));
    return 0;
}

std::uint32_t epAdd(EcPoint* R, const EcPoint* P, const EcPoint* Q, const EcParamSet* set) {
    *R = to_record(sum(load(*P, *set), load(*Q, *set), Residue(set->a, set->p)));
    return 0;
}
