/// @file
/// Decimal numbers of any length, calculated digit by digit.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class Decimal {
public:
    /// `text` is digits and nothing else.
    explicit Decimal(const std::string& text) {
        for (auto c = text.rbegin(); c != text.rend(); ++c) {
            digits.push_back(static_cast<unsigned>(*c - '0'));
        }
    }

    Decimal& multiply(uint64_t factor) {
        uint64_t carry = 0;
        for (unsigned& digit : digits) {
            carry += digit * factor;
            digit = static_cast<unsigned>(carry % 10);
            carry /= 10;
        }
        for (; carry > 0; carry /= 10) {
            digits.push_back(static_cast<unsigned>(carry % 10));
        }
        return *this;
    }

    /// Takes the last digits away, and tells whether all of them were 0.
    bool drop(size_t places) {
        const auto end = digits.begin() + static_cast<ptrdiff_t>(std::min(places, digits.size()));
        const bool zeros = std::all_of(digits.begin(), end, [](unsigned d) { return d == 0; });
        digits.erase(digits.begin(), end);
        return zeros;
    }

    /// Nothing where 64 bits do not hold it.
    std::optional<uint64_t> value() const {
        uint64_t result = 0;
        for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
            if (result > (UINT64_MAX - *digit) / 10) {
                return std::nullopt;
            }
            result = result * 10 + *digit;
        }
        return result;
    }

private:
    std::vector<unsigned> digits;  ///< the least significant one first
};
