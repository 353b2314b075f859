// Intrusive reference counting, ValidPtr and assertions.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Rix/Assert.h"
#include "Rix/Exception.h"
#include "Rix/Ptr.h"

namespace {

struct Counted : Rix::PtrInterface {
    explicit Counted(int* deleted) : deleted_(deleted) {}
    ~Counted() override { ++*deleted_; }
    int value = 5;
    int* deleted_;
};
struct Derived : Counted {
    using Counted::Counted;
};

// Keeps objects for reuse instead of deleting them.
struct Recycled : Rix::PtrInterface {
    static inline int recycled = 0;
    void onZeroReferences() noexcept override { ++recycled; }
};

TEST(PtrTest, CountsCopiesMovesAndConversionsAndDeletesOnce) {
    int deleted = 0;
    {
        Rix::Ptr<Derived> d(new Derived(&deleted));
        EXPECT_EQ(d->references(), 1);
        Rix::Ptr<Counted> base = d;
        Rix::Ptr<const Counted> constant = base;
        EXPECT_EQ(d->references(), 3);
        EXPECT_EQ(constant->value, 5);
        Rix::Ptr<Counted> moved = std::move(base);
        EXPECT_FALSE(base);
        EXPECT_EQ(d->references(), 3);
        // a raw pointer turns back into an owning one: the count lives in the object
        Rix::Ptr<Counted> again(moved.ptr());
        EXPECT_EQ(d->references(), 4);
        EXPECT_TRUE(again == d);
        moved = nullptr;
        Rix::Ptr<Counted>& alias = again;
        again = alias;  // self-assignment keeps the object
        EXPECT_EQ(d->references(), 3);
        EXPECT_EQ(Rix::ptr_cast<Derived>(again), d);
    }
    EXPECT_EQ(deleted, 1);

    Recycled r;
    { Rix::Ptr<Recycled> p(&r); }
    EXPECT_EQ(Recycled::recycled, 1);
}

TEST(PtrTest, CountIsExactUnderConcurrentCopies) {
    int deleted = 0;
    Rix::Ptr<Counted> shared(new Counted(&deleted));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([shared] {
            for (int i = 0; i < 20000; ++i) {
                Rix::Ptr<Counted> copy = shared;
                Rix::Ptr<const Counted> c = copy;
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(shared->references(), 1);
    shared = nullptr;
    EXPECT_EQ(deleted, 1);
}

TEST(PtrTest, ValidPtrRefusesNull) {
    int deleted = 0;
    auto text = [](auto&& make) {
        try {
            make();
        } catch (const Rix::Exception& e) {
            return std::string(e.what());
        }
        return std::string("no exception");
    };
    EXPECT_EQ(text([] { Rix::ValidPtr<Counted> v(static_cast<Counted*>(nullptr)); }),
              "null ValidPtr");
    EXPECT_EQ(text([] { Rix::ValidPtr<Counted> v{Rix::Ptr<Derived>()}; }), "null ValidPtr");
    Rix::ValidPtr<Counted> v(Rix::Ptr<Derived>(new Derived(&deleted)));
    EXPECT_EQ(v->value, 5);
    const Rix::Ptr<Counted>& p = v;
    EXPECT_EQ(p->references(), 1);
}

TEST(ExceptionTest, TextsNameWhatWentWrong) {
    EXPECT_STREQ(Rix::ConstInstanceException().what(), "attempting to modify a const instance");
    EXPECT_STREQ(Rix::NullPointerException().what(), "null ValidPtr");
    const Rix::UnsupportedOperationException u("defaultProbeRate");
    EXPECT_NE(std::string(u.what()).find("defaultProbeRate"), std::string::npos);
    EXPECT_EQ(u.attribute(), "defaultProbeRate");
    EXPECT_NE(std::string(Rix::BadIndexException("7").what()).find('7'), std::string::npos);
    // every framework exception is caught as Rix::Exception
    EXPECT_THROW(throw Rix::RangeException("r"), Rix::Exception);
    EXPECT_THROW(throw Rix::ConstInstanceException(), Rix::Exception);
}

int assertLine = 0;
void failing(int x) {
    assertLine = __LINE__ + 1;
    RIX_ASSERT(x == 2 && "two");
}

TEST(AssertDeathTest, PrintsExpressionFileLineAndFunction) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(failing(3), "assertion failed: x == 2 && \"two\"");
    failing(2);  // passes, and records the line of the assertion
    EXPECT_DEATH(failing(3), "file: .*PtrTest\\.cpp");
    EXPECT_DEATH(failing(3), "line: " + std::to_string(assertLine) + "\n");
    EXPECT_DEATH(failing(3), "function: .*failing\\(int\\)");
}

}  // namespace
