// The test engines: "none", plain lanes, and an engine that counts calls.
#include "ecc/field/engines.hpp"

#include <atomic>
#include <utility>

#include "ecc/field/engine_of.hpp"
#include "ecc/field/lane_methods.hpp"
#include "ecc/field/plain_lanes.hpp"

namespace vrx::test {

using namespace field;

const Engine engine_none = {
    {"none"},
    [](CurveId, const Words&, AffinePoint&) { return false; },
    [](CurveId, const Words&, const AffinePoint&, AffinePoint&) { return false; },
    [](CurveId, const Words&, const Words&, const AffinePoint&, const Words&) { return Answer::not_covered; }};

const Engine engine_plain_lanes = EngineOf<LaneMethods<PlainLanes>>::described({"plain_lanes"});

std::vector<const Engine*> engines_here() {
    std::vector<const Engine*> here = offered_of(engines);
    here.push_back(&engine_plain_lanes);
    return here;
}

const Engine* engine_named(const std::string& name) {
    if (name == engine_none.name) return &engine_none;
    for (const Engine* e : engines_here())
        if (name == e->name) return e;
    return nullptr;
}

namespace {

const Engine* counted = nullptr;
struct {
    std::atomic<unsigned> base, point, sum, covered;
} counts;

bool count_base(CurveId curve, const Words& k, AffinePoint& r) {
    ++counts.base;
    const bool covered = counted->multiply_base(curve, k, r);
    counts.covered += covered;
    return covered;
}
bool count_point(CurveId curve, const Words& k, const AffinePoint& q, AffinePoint& r) {
    ++counts.point;
    const bool covered = counted->multiply(curve, k, q, r);
    counts.covered += covered;
    return covered;
}
Answer count_sum(CurveId curve, const Words& z1, const Words& z2, const AffinePoint& q, const Words& r) {
    ++counts.sum;
    const Answer answer = counted->sum_has_remainder(curve, z1, z2, q, r);
    counts.covered += answer != Answer::not_covered;
    return answer;
}
constexpr Engine counting = {{"counting"}, count_base, count_point, count_sum};

}  // namespace

CountedEngine::CountedEngine(const Engine& engine) : before_(std::exchange(counted, &engine)) {
    take();
    choice.use(counting);
}
CountedEngine::~CountedEngine() {
    counted = before_;
    if (before_ == nullptr) choice.forget();
}
CountedEngine::Counts CountedEngine::take() {
    return {counts.base.exchange(0), counts.point.exchange(0), counts.sum.exchange(0), counts.covered.exchange(0)};
}

}  // namespace vrx::test
