#include "refbase.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "parcel.h"

namespace OHOS {
namespace {

struct Base : virtual public RefBase {
    ~Base() override
    {
        ++deaths;
    }
    static inline std::atomic<int> deaths{0};
};
struct Left : public Base {};
struct Right : virtual public RefBase {
    int value = 7;
};
// As a stub does: several bases, each with RefBase below it, which exists once; and a destructor that hands itself out,
// as one that unregisters does, which must not end it twice.
struct Both : public Left, public Right {
    ~Both() override
    {
        const sptr<Both> once = this;
    }
};

class RefTest : public testing::Test {
protected:
    void SetUp() override
    {
        Base::deaths = 0;
    }
};

TEST_F(RefTest, ObjectDiesWithItsLastOwnerWhateverItsType)
{
    sptr<Both> both = MakeSptr<Both>();
    sptr<Left> left = both;
    sptr<Base> base = left;
    sptr<RefBase> root = both;
    EXPECT_EQ(both->GetSptrRefCount(), 4);
    EXPECT_TRUE(base == both && both == base.GetRefPtr() && root != nullptr && nullptr != base);
    EXPECT_TRUE(sptr<Both>(left) == both); // down, when asked
    EXPECT_EQ(both->GetSptrRefCount(), 4);
    root = std::move(left);
    base = both;
    both.clear();
    EXPECT_TRUE(left == nullptr && both == nullptr);
    EXPECT_EQ(base->GetSptrRefCount(), 2);
    base = nullptr;
    EXPECT_EQ(Base::deaths, 0);
    root = sptr<RefBase>(root); // onto itself
    root = new Right();
    EXPECT_EQ(Base::deaths, 1);
}

struct Registers : public Base {
    Registers() : self(this), inside(self.promote() != nullptr)
    {}
    ~Registers() override
    {
        const sptr<Registers> once = this;
        promotedWhileDying = self.promote() != nullptr;
    }
    wptr<Registers> self;
    bool inside;
    static inline bool promotedWhileDying = true;
};

TEST_F(RefTest, WeakReferenceFromTheConstructorHoldsFromTheFirstOwnerToTheLast)
{
    auto* raw = new Registers();
    EXPECT_FALSE(raw->inside);
    const wptr<Registers> weak = raw;
    EXPECT_TRUE(weak.promote() == nullptr);
    sptr<Registers> owner = raw;
    EXPECT_TRUE(weak.promote() == owner && weak == raw->self && weak == owner && weak != nullptr);
    EXPECT_EQ(owner->GetSptrRefCount(), 1);
    EXPECT_TRUE(owner->AttemptIncStrongRef(nullptr));
    owner.clear();
    EXPECT_EQ(Base::deaths, 0);
    raw->DecStrongRef(nullptr);
    EXPECT_EQ(Base::deaths, 1);
    EXPECT_FALSE(Registers::promotedWhileDying);
    EXPECT_TRUE(weak.promote() == nullptr);
    EXPECT_TRUE(wptr<RefBase>(weak) == nullptr); // the way to the virtual base is gone with the object
}

struct Reused : public Base {
    static void* operator new(size_t)
    {
        return storage;
    }
    static void operator delete(void*)
    {}
    alignas(std::max_align_t) static inline unsigned char storage[64];
};

TEST_F(RefTest, NewObjectAtAnOldAddressIsAnotherOne)
{
    sptr<Reused> object = MakeSptr<Reused>();
    const wptr<Reused> old = object;
    const Reused* address = object.GetRefPtr();
    object = nullptr;
    object = MakeSptr<Reused>();
    ASSERT_EQ(object.GetRefPtr(), address);
    EXPECT_TRUE(old != object && old.promote() == nullptr);
    EXPECT_TRUE(wptr<Reused>(object).promote() == object);
}

TEST_F(RefTest, CopiedValueHasOwnersOfItsOwn)
{
    static_assert(std::is_nothrow_copy_constructible_v<RefBase>, "records move in containers");
    wptr<Base> onStack;
    {
        const sptr<Base> owned = MakeSptr<Base>();
        Base value(*owned);
        onStack = &value;
        EXPECT_EQ(value.GetSptrRefCount(), 0);
        value = *owned;
        EXPECT_EQ(value.GetSptrRefCount(), 0);
        EXPECT_EQ(owned->GetSptrRefCount(), 1);
        EXPECT_FALSE(value.AttemptIncStrongRef(nullptr)); // nobody may own what lives on a stack
    }
    EXPECT_EQ(Base::deaths, 2);
    EXPECT_TRUE(onStack.promote() == nullptr);
}

constexpr size_t ROUNDS = 150;

// One thread does something again and again until the other has done its own thing once; round by round, at once.
template <typename Again, typename Once>
void Race(Again again, Once once)
{
    std::atomic<size_t> begun{0};
    std::atomic<size_t> ended{0};
    std::thread repeating([&] {
        for (size_t round = 1; round <= ROUNDS; ++round) {
            for (begun = round; ended < round; std::this_thread::yield()) {
                again(round - 1);
            }
        }
    });
    for (size_t round = 1; round <= ROUNDS; ++round) {
        while (begun < round) {
            std::this_thread::yield();
        }
        once(round - 1);
        ended = round;
    }
    repeating.join();
}

TEST_F(RefTest, PromotionAgainstTheLastReleaseGivesAWholeObjectOrNone)
{
    std::vector<sptr<Both>> owners(ROUNDS);
    std::vector<wptr<Both>> weak;
    for (auto& owner : owners) {
        weak.emplace_back(owner = new Both());
    }
    const auto promote = [&weak](size_t i) {
        for (sptr<Both> mine = weak[i].promote(); mine != nullptr; mine = weak[i].promote()) {
            EXPECT_EQ(mine->value, 7);
            mine.clear();
        }
    };
    Race(promote, [&owners](size_t i) { owners[i].clear(); });
    EXPECT_EQ(Base::deaths, static_cast<int>(ROUNDS));
}

TEST_F(RefTest, FirstWeakReferenceMeetsARivalAndOwnersThatComeAndGo)
{
    std::vector<sptr<Both>> owners(ROUNDS);
    std::vector<wptr<Both>> weak(ROUNDS);
    for (auto& owner : owners) {
        owner = new Both();
    }
    const auto copy = [&owners](size_t i) {
        if (i % 2 == 0) {
            const wptr<Both> rival = owners[i];
        }
        for (int n = 0; n < 100; ++n) {
            const sptr<Both> copied = owners[i];
        }
    };
    Race(copy, [&](size_t i) { weak[i] = owners[i]; });
    for (size_t i = 0; i < ROUNDS; ++i) {
        EXPECT_TRUE(weak[i].promote() == owners[i] && weak[i] == owners[i]);
        EXPECT_EQ(owners[i]->GetSptrRefCount(), 1);
    }
    owners.clear();
    EXPECT_EQ(Base::deaths, static_cast<int>(ROUNDS));
    EXPECT_TRUE(weak.front().promote() == nullptr);
}

} // namespace
} // namespace OHOS
