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
        Rix::Ptr<Counted> moved = std::move(base);
        EXPECT_FALSE(base);
        EXPECT_EQ(d->references(), 3);
        // a raw pointer turns back into an owning one: the count lives in the object
        Rix::Ptr<Counted> again(moved.ptr());
        EXPECT_EQ(d->references(), 4);
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
    EXPECT_THROW(Rix::ValidPtr<Counted> v(static_cast<Counted*>(nullptr)), Rix::Exception);
    try {
        Rix::ValidPtr<Counted> v{Rix::Ptr<Derived>()};
        ADD_FAILURE() << "no exception";
    } catch (const Rix::Exception& e) {
        EXPECT_STREQ(e.what(), "null ValidPtr");
    }
    int deleted = 0;
    Rix::ValidPtr<Counted> v(Rix::Ptr<Derived>(new Derived(&deleted)));
    EXPECT_EQ(v->references(), 1);
}

int assertLine = 0;
void failing(int x) {
    assertLine = __LINE__ + 1;
    RIX_ASSERT(x == 2 && "two");
}

TEST(AssertDeathTest, PrintsExpressionFileLineAndFunction) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    failing(2);  // passes, and records the line of the assertion
    EXPECT_DEATH(failing(3),
                 "assertion failed: x == 2 && \"two\"\n  file: .*PtrTest\\.cpp\n  line: " +
                     std::to_string(assertLine) + "\n  function: .*failing\\(int\\)");
}

}  // namespace
