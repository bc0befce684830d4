// The exported functions on points: comparison, conversion, addition and doubling.
#include "ecc/point.hpp"

#include "frame/secret_work.hpp"

using namespace vrx::ecc;

namespace {

Jacobian<Residue> load(const EcPointJ& p, const EcParamSet& set) { return {{p.x, set.p}, {p.y, set.p}, {p.z, set.p}}; }

void store(EcPointJ* record, const Jacobian<Residue>& p) {
    store(record->x, p.x.number());
    store(record->y, p.y.number());
    store(record->z, p.z.number());
}

/** Returns body(), and erases all traces of the points, which may be secret. */
template <typename Body>
auto traceless(Body body) {
    return vrx::secret_work<vrx::depth::points>(body);
}

}  // namespace

std::uint32_t epIsEqual(const EcPoint* P, const EcPoint* Q) {
    return traceless([&] { return mpEqual(P->x, Q->x, digit_count) != 0 && mpEqual(P->y, Q->y, digit_count) != 0; });
}

std::uint32_t epIsZero(const EcPoint* P) {
    return traceless([&] { return mpIsZero(P->x, digit_count) != 0 && mpIsZero(P->y, digit_count) != 0; });
}

std::uint32_t epSetZero(EcPoint* P) {
    *P = EcPoint{};
    return 0;
}

std::uint32_t epSetEqual(EcPoint* R, const EcPoint* P) {
    traceless([&] { *R = *P; });
    return 0;
}

std::uint32_t epA2J(EcPointJ* R, const EcPoint* P) {
    traceless([&] {
        mpSetEqual(R->x, P->x, digit_count);
        mpSetEqual(R->y, P->y, digit_count);
        mpSetDigit(R->z, 1, digit_count);
    });
    return 0;
}

std::uint32_t epJ2A(EcPoint* R, const EcPointJ* P, const EcParamSet* set) {
    traceless([&] { *R = to_record(to_affine(load(*P, *set))); });
    return 0;
}

std::uint32_t epDublJ(EcPointJ* R, const EcPointJ* P, const EcParamSet* set) {
    traceless([&] { store(R, twice(load(*P, *set))); });
    return 0;
}

std::uint32_t epAddJA(EcPointJ* R, const EcPointJ* P, const EcPoint* Q, const EcParamSet* set) {
    traceless([&] { store(R, sum(load(*P, *set), load(*Q, *set))); });
    return 0;
}

std::uint32_t epAddJChud(EcPointJ* R, const EcPointJ* P, const EcPointJ* Q, const EcParamSet* set) {
    traceless([&] { store(R, sum(load(*P, *set), load(*Q, *set))); });
    return 0;
}

std::uint32_t epAdd(EcPoint* R, const EcPoint* P, const EcPoint* Q, const EcParamSet* set) {
    traceless([&] { *R = to_record(sum(load(*P, *set), load(*Q, *set), Residue(set->a, set->p))); });
    return 0;
}
