// The entity mechanism, once, on a test-only entity: notification passes, the generic attribute
// interface, collections, children and dirty bits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Rix/Entity.h"

namespace {

class Gadget : public Rix::Entity {
  public:
    enum : Rix::AttributeId {
        countId = 258,
        levelId,
        defaultCountId,
        doubledId,
        partId,
        kidId,
        resetId
    };
    class NotifieeConst : public Rix::TypedNotifieeConst<Gadget> {
      public:
        virtual void onCount() {}
        virtual void onLevel() {}
        RIX_COLLECTION_CALLBACKS(Part, U16)
        RIX_COLLECTION_CALLBACKS(Kid, const Rix::Name&)
    };
    using Notifiee = Rix::TypedNotifiee<Gadget, NotifieeConst>;

    explicit Gadget(const Rix::Name& n) : Entity(n, table) {}
    U8 count() const { return count_; }
    void countIs(U8 v) { attributeIs(count_, v, countId, &NotifieeConst::onCount); }
    void countInc(U8 n) { attributeInc(count_, n, countId, &NotifieeConst::onCount); }
    void countDec(U8 n) { attributeDec(count_, n, countId, &NotifieeConst::onCount); }
    double level() const { return level_; }
    void levelIs(const double& v) { attributeIs(level_, v, levelId, &NotifieeConst::onLevel); }
    U8 defaultCount() const { return 7; }
    U32 doubled() const { return 2u * count_; }
    using PartCollection = Rix::MemberCollection<U16, U32>;
    using KidCollection = Rix::ChildCollection<Rix::Name, Gadget>;
    RIX_MEMBER_COLLECTION(part, Part, PartCollection, U16, U32)
    RIX_CHILD_COLLECTION(kid, Kid, KidCollection, const Rix::Name&, new Gadget(k))

    static const Rix::AttributeTable table;

  private:
    U8 count_ = 0;
    double level_ = 0.0;
    PartCollection part_;
    KidCollection kid_;
};

const Rix::AttributeTable Gadget::table{
    true,
    {Rix::settable<&Gadget::count, &Gadget::countIs>(countId, "count"),
     Rix::settable<&Gadget::level, &Gadget::levelIs>(levelId, "level", false),
     Rix::constant<&Gadget::defaultCount>(defaultCountId, "defaultCount"),
     Rix::derived<&Gadget::doubled>(doubledId, "doubled"),
     Rix::collection<&Gadget::part_>(partId, "part"), Rix::collection<&Gadget::kid_>(kidId, "kid"),
     Rix::action(resetId, "reset")}};

// Records the callbacks it gets; `hook` runs inside onCount.
struct Recorder : Gadget::Notifiee {
    std::vector<std::string>* log;
    std::string me;
    std::function<void()> hook;
    Recorder(std::vector<std::string>* l, std::string n) : log(l), me(std::move(n)) {}
    void onCount() override {
        log->push_back(me + ".count");
        if (hook) hook();
    }
    void onLevel() override { log->push_back(me + ".level"); }
    void onPart(U16 k) override { log->push_back(me + ".part" + std::to_string(k)); }
    void onPart() override { log->push_back(me + ".part*"); }
    void onKid(const Rix::Name& n) override { log->push_back(me + ".kid " + n.str()); }
    void onIsNondestructing() override { log->push_back(me + ".nondestructing"); }
    void onNotificationException(Rix::AttributeId id) override {
        try {
            throw;
        } catch (const std::exception& e) {
            log->push_back(me + ".exception " + std::to_string(id) + " " + e.what());
        }
    }
};

struct EntityTest : ::testing::Test {
    Rix::Ptr<Gadget> g{new Gadget("g")};
    std::vector<std::string> log;
    std::unique_ptr<Recorder> make(const std::string& name) {
        auto r = std::make_unique<Recorder>(&log, name);
        r->notifierIs(g);
        return r;
    }
};

TEST_F(EntityTest, EqualValuesNotifyNobodyNanAlwaysDiffersCountersWrap) {
    auto a = make("a");
    g->countIs(0);
    g->levelIs(0.0);
    g->partIs(1, 5);
    g->partIs(1, 5);
    g->countIs(3);
    g->countIs(3);
    g->levelIs(std::nan(""));
    g->levelIs(std::nan(""));
    g->isNondestructingIs(false);
    g->isNondestructingIs(true);
    g->countInc(0);
    EXPECT_EQ(log, (std::vector<std::string>{"a.part1", "a.count", "a.level", "a.level",
                                             "a.nondestructing"}));
    g->countDec(4);  // counters wrap in their width
    EXPECT_EQ(g->count(), 255);
    g->countInc(3);
    EXPECT_EQ(g->count(), 2);
}

TEST_F(EntityTest, PassWithJoiningLeavingThrowingAndDestroyedNotifiees) {
    auto a = make("a");
    auto b = make("b");
    auto c = make("c");
    auto d = make("d");
    std::unique_ptr<Recorder> late;
    // a: throws, b: leaves and lets a newcomer join, c: destroys d before d's turn
    a->hook = [] { throw std::runtime_error("boom"); };
    b->hook = [&] {
        b->isRegisteredNotifieeIs(false);
        late = make("late");
    };
    c->hook = [&] { d.reset(); };
    g->countIs(1);
    EXPECT_EQ(log,
              (std::vector<std::string>{"a.count", "a.exception 258 boom", "b.count", "c.count"}));
    EXPECT_EQ(g->notifiees(), 3u);  // a, c, late
    log.clear();
    a->hook = nullptr;
    c->hook = nullptr;
    g->countIs(2);
    EXPECT_EQ(log, (std::vector<std::string>{"a.count", "c.count", "late.count"}));
}

TEST_F(EntityTest, EntityReleasedDuringItsOwnPassLivesUntilThePassEnds) {
    auto a = make("a");
    auto b = make("b");
    Gadget* raw = g.ptr();
    a->hook = [&] {
        a->notifierIs(nullptr);
        b->notifierIs(nullptr);
        g = nullptr;
    };
    raw->countIs(1);  // b was taken off before its turn; the last reference went inside the pass
    EXPECT_EQ(log, (std::vector<std::string>{"a.count"}));
}

TEST_F(EntityTest, AttributeNamesAndGenericInterface) {
    EXPECT_STREQ(g->attributeString(264), "reset");
    EXPECT_STREQ(g->attributeString(265), "unknown");
    EXPECT_STREQ(g->attributeString(2), "isNondestructing");

    auto a = make("a");
    g->attributeTextIs("count", "9");
    g->attributeTextIs(Gadget::levelId, "0.25");
    g->partIs(4, 40);
    EXPECT_EQ(g->count(), 9);
    EXPECT_EQ(g->attributeText("level").str(), "0.25");
    EXPECT_EQ(g->attributeText(Gadget::defaultCountId).str(), "7");
    EXPECT_EQ(g->attributeText("doubled").str(), "18");
    EXPECT_EQ(g->attributeText("part").str(), "{4: 40}");
    EXPECT_EQ(g->attributeText("name").str(), "'g'");
    EXPECT_EQ(log, (std::vector<std::string>{"a.count", "a.level", "a.part4"}));

    auto message = [&](auto&& f) -> std::string {
        try {
            f();
        } catch (const Rix::Exception& e) {
            return e.what();
        }
        return "no exception";
    };
    for (const char* name : {"defaultCount", "doubled", "part"}) {
        EXPECT_EQ(message([&] { g->attributeTextIs(name, "1"); }),
                  std::string("operation not supported on attribute ") + name);
    }
    EXPECT_EQ(message([&] { g->attributeText("reset"); }),
              "operation not supported on attribute reset");
    EXPECT_EQ(message([&] { g->attributeTextIs(300, "1"); }), "bad index: attribute 300");
    EXPECT_EQ(message([&] { g->attributeText("colour"); }), "bad index: attribute colour");
    EXPECT_EQ(message([&] { g->attributeTextIs("count", "256"); }).find("out of range"), 17u);
    const Gadget& constant = *g;
    EXPECT_EQ(message([&] { constant.attributeTextIs("count", "1"); }),
              "attempting to modify a const instance");
    EXPECT_EQ(g->count(), 9);
}

TEST_F(EntityTest, DirtyBitsFollowPublishedAttributesOnly) {
    g->countIs(1);
    g->levelIs(1.0);  // not published
    g->partIs(1, 1);
    g->isNondestructingIs(true);
    EXPECT_TRUE(g->dirty(Gadget::countId));
    EXPECT_FALSE(g->dirty(Gadget::levelId));
    EXPECT_TRUE(g->dirty(Gadget::partId));
    EXPECT_TRUE(g->dirty(Rix::isNondestructingAttributeId));
    g->dirtyClear();
    g->countIs(1);
    EXPECT_EQ(g->dirtyBits(), 0u);
}

TEST_F(EntityTest, MembersAndChildren) {
    auto a = make("a");
    g->partIs(1, 10);
    g->partIs(1, 11);  // overwritten in place
    g->partIs(2, 20);
    g->partDel(3);  // absent: no error, nobody told
    std::map<U16, U32> seen;
    for (auto it = g->partIterConst(); it; ++it) seen[it.key()] = it->value();
    EXPECT_EQ(seen, (std::map<U16, U32>{{1, 11}, {2, 20}}));
    g->partDelAll();
    g->partDelAll();  // already empty: nobody told

    Rix::Ptr<Gadget> k1 = g->kidIs("k");
    EXPECT_EQ(g->kidIs("k"), k1);
    EXPECT_EQ(k1->attributeInParent(), Gadget::kidId);
    EXPECT_EQ(g->attributeText("kid").str(), "{'k': 'k'}");
    g->kidDel("k");
    EXPECT_EQ(k1->parent(), nullptr);
    EXPECT_FALSE(g->kid("k"));
    EXPECT_EQ(k1->references(), 1);
    // delete-all tells each key in turn, in hash order
    std::sort(log.begin() + 3, log.begin() + 5);
    EXPECT_EQ(log, (std::vector<std::string>{"a.part1", "a.part1", "a.part2", "a.part1", "a.part2",
                                             "a.part*", "a.kid k", "a.kid k"}));
}

}  // namespace
