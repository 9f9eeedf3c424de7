#pragma once

#include <cstdint>

// Fixed-width types shared by the portability layer and its users.
using FUInt32 = std::uint32_t;
