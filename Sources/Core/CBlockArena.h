// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace kor
{

// The shared half of the small-block allocator: 255 size classes in steps of 16 bytes, each with a lock-free stack of
// free blocks that is filled by slabs from the C heap. A block is a header of 16 bytes and the user's bytes behind it;
// the header's last byte, the one in front of the user's pointer, names the class. Slabs are never given back while
// the arena lives, so a thread that lost a race may still look at the header of a block that is no longer its own.
//
// The head of a stack is a block number and a tag that counts every change. A thread that pops walks the links on its
// own and then swaps the head; the swap succeeds only if the tag did not move meanwhile, so that a block that was
// taken and came back (ABA) cannot slip a stale link into the stack. The tag has 32 bits, which is why blocks are
// numbered within their class instead of being addressed.
class CBlockArena
{
public:
    static constexpr int classCount = 255;
    static constexpr std::size_t largestClassBytes = 16 * classCount;
    static constexpr std::uint8_t largeBlockMark = 255;
    static constexpr std::size_t largestRequest = 0xFFFFFFFFu - 63;     // 2^32 - 64

    /// What lies in front of every class block.
    struct CHeader
    {
        std::atomic<CHeader*> next;                 // in a free list, shared or of one thread
        std::atomic<std::uint32_t> number;          // 1 for the first block of the class; 0 says "none" in a head
        std::uint8_t spare[3];
        std::uint8_t classIndex;

        void* user() noexcept { return this + 1; }
        static CHeader* of(void* user) noexcept { return static_cast<CHeader*>(user) - 1; }
    };
    static_assert(sizeof(CHeader) == 16);

    /// A run of free blocks linked from first to last; the last one's link is null.
    struct CRun
    {
        CHeader* first = nullptr;
        CHeader* last = nullptr;
        int count = 0;
    };

    constexpr CBlockArena() noexcept = default;
    CBlockArena(const CBlockArena&) = delete;
    CBlockArena& operator=(const CBlockArena&) = delete;

    /// Gives all slabs back to the C heap; no block may be in use any more.
    ~CBlockArena();

    static constexpr int classOf(std::size_t size) noexcept
    {
        return static_cast<int>((size - (size != 0 ? 1u : 0u)) >> 4);
    }
    static constexpr std::size_t userBytes(int classIndex) noexcept
    {
        return 16 * (static_cast<std::size_t>(classIndex) + 1);
    }
    static constexpr std::size_t stride(int classIndex) noexcept { return userBytes(classIndex) + 16; }
    static constexpr int slabCap(int classIndex) noexcept { return stride(classIndex) < 2048 ? 128 : 64; }

    /// Takes 1 to `wanted` blocks of a class; fewer when fewer are free, a run of count 0 only when the C heap has
    /// failed. Any thread. Lock-free while blocks are free; with none left one thread makes a slab while the others
    /// keep looking for blocks that come back.
    CRun take(int classIndex, int wanted) noexcept;

    /// Gives back a run of blocks of one class. Any thread, lock-free.
    void give(int classIndex, const CRun& run) noexcept;

    /// Slabs of a class so far. Any thread.
    std::uint32_t slabCount(int classIndex) const noexcept;

    // Blocks above the largest class come straight from the C heap, with a header that leads back to its block.
    static void* takeLarge(std::size_t size) noexcept;
    static void giveLarge(void* user) noexcept;
    static std::size_t largeBytes(const void* user) noexcept;

    /// The class of a block, or largeBlockMark.
    static std::uint8_t markOf(const void* user) noexcept { return static_cast<const std::uint8_t*>(user)[-1]; }

private:
    struct CSlab;

    // Finds a slab by its number without a lock: row r holds slabs 2^r - 1 to 2^(r+1) - 2 and never moves.
    static constexpr int tableRows = 25;

    // A line of its own for the part that threads fight for.
    struct alignas(64) CClass
    {
        std::atomic<std::uint64_t> head{0};         // number of the top block, tag above it
        std::atomic<bool> isRefilling{false};
        std::atomic<std::uint32_t> slabs{0};
        std::array<std::atomic<std::atomic<CSlab*>*>, tableRows> table{};
        CSlab* lastSlab = nullptr;                  // chain of all slabs; touched by the refilling thread only
    };

    CRun tryTake(int classIndex, int wanted) noexcept;
    CRun refill(int classIndex) noexcept;
    CHeader* blockOf(int classIndex, std::uint32_t number) noexcept;

    std::array<CClass, classCount> classes{};
};

}
