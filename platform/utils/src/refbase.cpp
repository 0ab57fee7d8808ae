#include "refbase.h"

namespace OHOS {

bool RefCounter::DecStrong()
{
    if (strong_.fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return false;
    }
    // Nobody else can raise it from 0: AttemptIncStrong refuses, and nobody owns a reference.
    strong_.store(DYING, std::memory_order_relaxed);
    return true;
}

bool RefCounter::AttemptIncStrong()
{
    uint32_t strong = strong_.load(std::memory_order_relaxed);
    while (strong != 0 && strong < DYING) {
        if (strong_.compare_exchange_weak(strong, strong + 1, std::memory_order_acq_rel, std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

void RefCounter::DecWeak()
{
    if (weak_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

RefBase::~RefBase()
{
    if (RefCounter* counter = CounterOf(refs_.load(std::memory_order_acquire)); counter != nullptr) {
        counter->DecWeak();
    }
}

bool RefBase::ChangeInner(uintptr_t& refs, uintptr_t change)
{
    while (CounterOf(refs) == nullptr) {
        if (refs_.compare_exchange_weak(refs, refs + change, std::memory_order_acq_rel, std::memory_order_acquire)) {
            return true;
        }
    }
    return false;
}

void RefBase::IncStrongRef(const void*)
{
    uintptr_t refs = refs_.load(std::memory_order_acquire);
    if (!ChangeInner(refs, ONE_STRONG)) {
        CounterOf(refs)->IncStrong();
    }
}

void RefBase::DecStrongRef(const void*)
{
    uintptr_t refs = refs_.load(std::memory_order_acquire);
    bool last = false;
    if (ChangeInner(refs, -ONE_STRONG)) {
        last = refs == (INNER | ONE_STRONG);
        if (last) {
            refs_.store(INNER | (uintptr_t{RefCounter::DYING} * ONE_STRONG), std::memory_order_relaxed);
        }
    } else {
        last = CounterOf(refs)->DecStrong();
    }
    if (last) {
        delete this;
    }
}

bool RefBase::AttemptIncStrongRef(const void*)
{
    uintptr_t refs = refs_.load(std::memory_order_acquire);
    while (CounterOf(refs) == nullptr) {
        if (refs < (INNER | ONE_STRONG) || refs >= uintptr_t{RefCounter::DYING} * ONE_STRONG) {
            return false;
        }
        if (refs_.compare_exchange_weak(refs, refs + ONE_STRONG, std::memory_order_acq_rel)) {
            return true;
        }
    }
    return CounterOf(refs)->AttemptIncStrong();
}

int RefBase::GetSptrRefCount() const
{
    const uintptr_t refs = refs_.load(std::memory_order_acquire);
    const RefCounter* counter = CounterOf(refs);
    const uint32_t strong = counter == nullptr ? static_cast<uint32_t>(refs / ONE_STRONG) : counter->Strong();
    return static_cast<int>(strong & (RefCounter::DYING - 1));
}

RefCounter* RefBase::AcquireWeakCounter()
{
    uintptr_t refs = refs_.load(std::memory_order_acquire);
    RefCounter* fresh = nullptr;
    while (CounterOf(refs) == nullptr) {
        const auto strong = static_cast<uint32_t>(refs / ONE_STRONG);
        if (fresh == nullptr) {
            fresh = new RefCounter(strong);
        }
        fresh->strong_.store(strong, std::memory_order_relaxed);
        if (refs_.compare_exchange_weak(
                refs, reinterpret_cast<uintptr_t>(fresh), std::memory_order_acq_rel, std::memory_order_acquire)) {
            fresh->IncWeak();
            return fresh;
        }
    }
    if (fresh != nullptr) {
        fresh->DecWeak(); // another thread was first
    }
    CounterOf(refs)->IncWeak();
    return CounterOf(refs);
}

} // namespace OHOS
