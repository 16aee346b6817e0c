#include <charconv>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

#include "Veltrix/BigData/Submission.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <fstream>
#endif

namespace BigData {

namespace {

constexpr std::size_t kLongest = 1024;

/// An optional sign and digits of a signed 32-bit integer; 0 for any other text.
std::int32_t integerOf(std::string_view text) {
    if (text.size() > kLongest) return 0;
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return 0;
    }
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

#if defined(_WIN32)

std::string storedText() {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\CorvalaSystems\\KivranePlatform\\17.0", 0,
                      KEY_READ, &key) != ERROR_SUCCESS) {
        return {};
    }
    wchar_t value[kLongest / sizeof(wchar_t) + 1] = {};
    DWORD size = kLongest;
    DWORD type = 0;
    const LSTATUS status =
        RegQueryValueExW(key, L"ID", nullptr, &type, reinterpret_cast<BYTE*>(value), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS || type != REG_SZ) return {};
    std::string text;
    // What is not ASCII is no digit, whatever it becomes.
    for (const wchar_t* c = value; *c != 0; ++c) text += *c < 0x80 ? static_cast<char>(*c) : '?';
    return text;
}

#else

constexpr std::string_view kSection =
    R"([HKEY_LOCAL_MACHINE\SOFTWARE\CorvalaSystems\KivranePlatform\17.0])";
constexpr std::string_view kEntry = "ID=";

std::string storedText() {
    const char* const named = std::getenv("VELTRIX_REGISTRY");
    std::ifstream file(named != nullptr ? named : "/etc/veltrix/registry.ini");
    bool isInSection = false;
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.starts_with('[')) {
            isInSection = line == kSection;
        } else if (isInSection && line.starts_with(kEntry)) {
            return line.substr(kEntry.size());
        }
    }
    return {};
}

#endif

}  // namespace

std::int32_t userIdentifier() { return integerOf(storedText()); }

}  // namespace BigData
