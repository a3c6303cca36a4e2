#pragma once

#include <cstdint>

// What a test makes another system refuse: Wine has neither users nor limits of its own, so the tests that need either
// are left out there.

class AsOrdinaryUser {
public:
    AsOrdinaryUser() {}
};

class FullDisk {
public:
    explicit FullDisk(std::uint64_t) {}
};
