// Cost of an entity's scalar setter: with one registered notifiee told of a change, and given the
// value it already holds. The baseline is a plain store into a field.
#include <benchmark/benchmark.h>

#include "BenchGoals.h"
#include "Rix/Entity.h"

namespace {

class Meter : public Rix::Entity {
  public:
    enum : Rix::AttributeId { levelId = 258 };
    class NotifieeConst : public Rix::TypedNotifieeConst<Meter> {
      public:
        virtual void onLevel() {}
    };
    explicit Meter(const Rix::Name& n) : Entity(n, table) {}
    U32 level() const { return level_; }
    void levelIs(U32 v) { attributeIs(level_, v, levelId, &NotifieeConst::onLevel); }
    static const Rix::AttributeTable table;

  private:
    U32 level_ = 0;
};

const Rix::AttributeTable Meter::table{
    true, {Rix::settable<&Meter::level, &Meter::levelIs>(Meter::levelId, "level")}};

struct Counting : Meter::NotifieeConst {
    U64 calls = 0;
    void onLevel() override { ++calls; }
};

struct Plain {
    U32 level = 0;
};

void BM_PlainStore(benchmark::State& state) {
    Plain p;
    U32 v = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&p);
        p.level = ++v;
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_PlainStore);

void BM_SetterChangedOneNotifiee(benchmark::State& state) {
    Rix::Ptr<Meter> m(new Meter("m"));
    Counting n;
    n.notifierIs(m);
    U32 v = 0;
    for (auto _ : state) {
        m->levelIs(++v);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(n.calls);
}
BENCHMARK(BM_SetterChangedOneNotifiee);

void BM_SetterSameValue(benchmark::State& state) {
    Rix::Ptr<Meter> m(new Meter("m"));
    Counting n;
    n.notifierIs(m);
    m->levelIs(5);
    U32 v = 5;
    for (auto _ : state) {
        benchmark::DoNotOptimize(v);
        m->levelIs(v);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_SetterSameValue);

}  // namespace

int main(int argc, char** argv) {
    return Bench::run(argc, argv, [](Bench::Results& r) {
        r.timeAtMost("scalar setter, one notifiee told", "BM_SetterChangedOneNotifiee", 20.0);
        r.timeAtMost("scalar setter given the stored value", "BM_SetterSameValue", 2.0);
        r.ratioAtMost("setter given the stored value vs plain store", "BM_PlainStore",
                      "BM_SetterSameValue", 4.0);
    });
}
