#pragma once

#include <cstddef>

/// Watches the C heap, through which Qt's byte arrays and liblzma get their memory, for as long as
/// it lives. A program that links AllocationProbe.cpp has its allocations counted; the sizes asked
/// for are seen even when the pages are never touched.
class AllocationProbe
{
public:
    AllocationProbe();
    AllocationProbe(const AllocationProbe&) = delete;
    AllocationProbe& operator=(const AllocationProbe&) = delete;

    /// The largest single allocation so far, in bytes.
    [[nodiscard]] std::size_t largest() const;
};
