/// @file
/// Guards that put process-wide settings back when a test ends.
#pragma once

#include <cstdlib>
#include <ctime>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>

#include "libvektrace/MessageBase.h"

/// Keeps the registry and the class-wide settings.
class LibrarySettings {
public:
    LibrarySettings() = default;
    ~LibrarySettings() {
        MessageBase::creators = creators;
        MessageBase::invalidHandling = handling;
        MessageBase::fpgaMsgHasDebugBytes = debugBytes;
    }
    LibrarySettings(const LibrarySettings&) = delete;
    LibrarySettings& operator=(const LibrarySettings&) = delete;

private:
    MessageBase::creators_t creators = MessageBase::creators;
    MessageBase::invalidMsgHandling_t handling = MessageBase::invalidHandling;
    bool debugBytes = MessageBase::fpgaMsgHasDebugBytes;
};

/// Collects what goes to the standard error stream, and puts its state back.
class CapturedErrors {
public:
    CapturedErrors() : buffer(std::cerr.rdbuf(text.rdbuf())) { state.copyfmt(std::cerr); }
    ~CapturedErrors() {
        std::cerr.rdbuf(buffer);
        std::cerr.copyfmt(state);
    }
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    std::string str() const { return text.str(); }

private:
    std::ostringstream text;
    std::ios state{nullptr};
    std::streambuf* buffer;
};

/// Sets the process's time zone.
class TimeZone {
public:
    explicit TimeZone(const char* zone) {
        if (const char* now = std::getenv("TZ")) {
            before = now;
        }
        set(zone);
    }
    ~TimeZone() { set(before ? before->c_str() : nullptr); }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    static void set(const char* zone) {
        zone != nullptr ? setenv("TZ", zone, 1) : unsetenv("TZ");
        tzset();
    }
    std::optional<std::string> before;
};

/// Sets the global locale.
class GlobalLocale {
public:
    explicit GlobalLocale(const std::locale& locale) : before(std::locale::global(locale)) {}
    ~GlobalLocale() { std::locale::global(before); }
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;

private:
    std::locale before;
};
