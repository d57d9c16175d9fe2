#include "engine/TreeMemory.h"

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>
#include <sys/mman.h>

namespace kopertal {
namespace {

constexpr std::size_t blockSize = 2UL * 1024 * 1024; // a huge page of x86-64 and of 64-bit Arm

struct Block;

/// Where the next pieces come from.
struct Arena {
    std::mutex mutex;
    Block* current = nullptr;
};

/// Stands at the start of its block, which is aligned to its size: so a piece finds its block. A
/// piece that is larger than a block has one of its own, a multiple of the size.
struct alignas(std::max_align_t) Block {
    Arena& owner; // each module of the program has its own, and there is one tree library for all
    std::size_t used = sizeof(Block);
    std::size_t pieces = 0;
};

Arena arena;

std::size_t roundedUp(std::size_t size, std::size_t step) {
    return (size + step - 1) / step * step;
}

Block* newBlock(std::size_t size) {
    void* const memory = std::aligned_alloc(blockSize, size);
    if (!memory)
        throw std::bad_alloc();
    ::madvise(memory, size, MADV_HUGEPAGE); // a wish
    return new (memory) Block{arena};
}

} // namespace

void* allocateTreeMemory(std::size_t size) {
    if (size > PTRDIFF_MAX - blockSize)
        throw std::bad_alloc();
    const std::size_t room = roundedUp(size, alignof(Block));
    const std::lock_guard lock(arena.mutex);
    Block* block = arena.current;
    if (!block || block->used + room > blockSize) {
        block = newBlock(roundedUp(sizeof(Block) + room, blockSize));
        if (sizeof(Block) + room <= blockSize)
            arena.current = block;
    }
    void* const piece = reinterpret_cast<char*>(block) + block->used;
    block->used += room;
    ++block->pieces;
    return piece;
}

void releaseTreeMemory(void* memory) noexcept {
    if (!memory)
        return;
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    auto* const block = reinterpret_cast<Block*>(address / blockSize * blockSize);
    Arena& owner = block->owner;
    const std::lock_guard lock(owner.mutex);
    if (--block->pieces > 0)
        return;
    if (block == owner.current)
        owner.current = nullptr;
    std::free(block);
}

} // namespace kopertal
