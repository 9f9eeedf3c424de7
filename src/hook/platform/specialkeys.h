#pragma once

// The special keys a script may name between angle brackets, with their
// Windows virtual keys. Free of Qt, so that the Win32 input layer reads the
// same table as the key notation does.

#include <array>
#include <string_view>

namespace Tolvex::SpecialKeyTable {

struct Row
{
    const char *name;
    int virtualKey;
};

// Searched from the first row; repeats in value are deliberate.
inline constexpr std::array<Row, 67> Rows{{
    {"Shift", 0x10},
    {"Ctrl", 0x11},
    {"Space", 0x20},
    {"Alt", 0x12},
    {"Return", 0x0D},
    {"Escape", 0x1B},
    {"Backspace", 0x08},
    {"Tab", 0x09},
    {"Pause", 0x13},
    {"PageUp", 0x21},
    {"PageDown", 0x22},
    {"Home", 0x24},
    {"End", 0x23},
    {"Left", 0x25},
    {"Right", 0x27},
    {"Up", 0x26},
    {"Down", 0x28},
    {"Insert", 0x2D},
    {"Delete", 0x2E},
    {"Print", 0x2C},
    {"NumPad0", 0x60},
    {"NumPad1", 0x61},
    {"NumPad2", 0x62},
    {"NumPad3", 0x63},
    {"NumPad4", 0x64},
    {"NumPad5", 0x65},
    {"NumPad6", 0x66},
    {"NumPad7", 0x67},
    {"NumPad8", 0x68},
    {"NumPad9", 0x69},
    {"NumPadMultiply", 0x6A},
    {"NumPadAdd", 0x6B},
    {"NumPadDivide", 0x6F},
    {"NumPadSubtract", 0x6D},
    {"NumPadDecimal", 0x6E},
    {"MenuLeft", 0xA4},
    {"MenuRight", 0x5D},
    {"Win", 0x5B},
    {"WinLeft", 0x5B},
    {"WinRight", 0x5C},
    {"F1", 0x70},
    {"F2", 0x71},
    {"F3", 0x72},
    {"F4", 0x73},
    {"F5", 0x74},
    {"F6", 0x75},
    {"F7", 0x76},
    {"F8", 0x77},
    {"F9", 0x78},
    {"F10", 0x79},
    {"F11", 0x7A},
    {"F12", 0x7B},
    {"F13", 0x7C},
    {"F14", 0x7D},
    {"F15", 0x7E},
    {"F16", 0x7F},
    {"F17", 0x80},
    {"F18", 0x81},
    {"F19", 0x82},
    {"F20", 0x83},
    {"F21", 0x84},
    {"F22", 0x85},
    {"F23", 0x86},
    {"F24", 0x87},
    {"NumLock", 0x90},
    {"ScrollLock", 0x91},
    {"CapsLock", 0x14},
}};

// The virtual key of a Latin-1 name, compared case-sensitively as a whole;
// -1 for a name the table lacks.
constexpr int virtualKey(std::string_view latin1Name)
{
    for (const Row &row : Rows)
        if (latin1Name == row.name)
            return row.virtualKey;
    return -1;
}

} // namespace Tolvex::SpecialKeyTable
