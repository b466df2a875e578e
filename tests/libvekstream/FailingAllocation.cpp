#include "FailingAllocation.h"

std::atomic<long> FailingAllocation::alive{0};
std::atomic<FailingAllocation*> FailingAllocation::current{nullptr};

void* operator new(size_t size) {
    void* const memory = FailingAllocation::allocate(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new[](size_t size) { return ::operator new(size); }
void operator delete(void* memory) noexcept { FailingAllocation::release(memory); }
void operator delete[](void* memory) noexcept { FailingAllocation::release(memory); }
void operator delete(void* memory, size_t) noexcept { FailingAllocation::release(memory); }
void operator delete[](void* memory, size_t) noexcept { FailingAllocation::release(memory); }
