#include "platform/sd2/own/reed_solomon.h"

#include <algorithm>
#include <array>

namespace sd2::own {
namespace {

using Element = uint32_t;                // below kField
using Polynomial = std::vector<Element>; // lowest power first

constexpr Element kGenerator = 3;
constexpr int kOrder = kField - 1; // of the generator

struct Powers {
    std::array<Element, kOrder> of{};

    constexpr Powers() {
        Element value = 1;
        for (Element &power : of) {
            power = value;
            value = value * kGenerator % kField;
        }
    }
};
constexpr Powers kPowers;

Element Power(int exponent) { return kPowers.of[static_cast<size_t>((exponent % kOrder + kOrder) % kOrder)]; }

Element Inverse(Element a) {
    Element inverse = 1; // a to the power kField - 2
    for (int exponent = kField - 2; exponent > 0; exponent >>= 1, a = a * a % kField)
        if (exponent & 1)
            inverse = inverse * a % kField;
    return inverse;
}

/// Values of a polynomial at many places at once, so that the inner loop vectorises.
void Evaluate(const Polynomial &polynomial, const Polynomial &places, Polynomial &values) {
    values.assign(places.size(), 0);
    for (size_t i = polynomial.size(); i-- > 0;)
        for (size_t k = 0; k < places.size(); ++k)
            values[k] = (values[k] * places[k] + polynomial[i]) % kField;
}

/// target += factor x^shift source, as far as the target reaches.
void AddShifted(Polynomial &target, const Polynomial &source, Element factor, size_t shift) {
    for (size_t i = 0; i + shift < target.size() && i < source.size(); ++i)
        target[i + shift] = (target[i + shift] + factor * source[i]) % kField;
}

int Degree(const Polynomial &polynomial) {
    size_t size = polynomial.size();
    while (size > 0 && polynomial[size - 1] == 0)
        --size;
    return static_cast<int>(size) - 1;
}

/// The shortest polynomial whose roots explain the syndromes, unreadable places being roots from the start
/// (Berlekamp and Massey's algorithm). Empty when the time is over.
Polynomial Locator(const Polynomial &syndromes, const std::vector<Element> &erased, const Stopwatch &watch) {
    const size_t count = syndromes.size();
    Polynomial locator(count + 1, 0);
    locator[0] = 1;
    for (const Element place : erased)
        for (size_t i = count; i > 0; --i)
            locator[i] = (locator[i] + (kField - place) * locator[i - 1]) % kField;
    Polynomial before = locator, next;
    size_t length = erased.size(), gap = 1;
    Element discrepancyBefore = 1;
    for (size_t n = erased.size(); n < count; ++n) {
        if (watch.Expired())
            return {};
        Element discrepancy = 0;
        for (size_t i = 0; i <= std::min(length, n); ++i)
            discrepancy = (discrepancy + locator[i] * syndromes[n - i]) % kField;
        if (discrepancy == 0) {
            ++gap;
            continue;
        }
        const Element factor = (kField - discrepancy) * Inverse(discrepancyBefore) % kField;
        next = locator;
        AddShifted(next, before, factor, gap);
        if (2 * length <= n + erased.size()) {
            before = locator;
            length = n + 1 + erased.size() - length;
            discrepancyBefore = discrepancy;
            gap = 1;
        } else {
            ++gap;
        }
        locator = next;
    }
    return locator;
}

} // namespace

Correction::Correction(const std::vector<int> &words, int correction) : correction_(correction) {
    Polynomial received(words.rbegin(), words.rend()), places;
    for (int i = 1; i <= correction; ++i)
        places.push_back(Power(i));
    Evaluate(received, places, syndromes_);
}

bool Correction::Correct(const std::vector<int> &unreadable, const Stopwatch &watch, std::vector<int> &words,
                         int *corrected) const {
    *corrected = 0;
    if (std::all_of(syndromes_.begin(), syndromes_.end(), [](Element s) { return s == 0; }))
        return true;
    constexpr int kSpare = 2;
    const int count = static_cast<int>(words.size()), erased = static_cast<int>(unreadable.size());
    if (erased > correction_ - kSpare)
        return false;
    std::vector<Element> erasedPlaces;
    erasedPlaces.reserve(unreadable.size());
    for (const int place : unreadable)
        erasedPlaces.push_back(Power(count - 1 - place));
    const Polynomial locator = Locator(syndromes_, erasedPlaces, watch);
    const int degree = Degree(locator);
    if (degree < 1 || 2 * degree - erased > correction_ - kSpare)
        return false;

    // Roots of the locator are the inverses of the places; all must lie inside the symbol.
    Polynomial inverses, values;
    for (int place = 0; place < count; ++place)
        inverses.push_back(Power(place + 1 - count));
    Evaluate(Polynomial(locator.begin(), locator.begin() + degree + 1), inverses, values);
    if (std::count(values.begin(), values.end(), 0u) != degree || watch.Expired())
        return false;
    Polynomial evaluator(static_cast<size_t>(correction_), 0), derivative;
    for (int i = 0; i <= degree; ++i)
        AddShifted(evaluator, syndromes_, locator[static_cast<size_t>(i)], static_cast<size_t>(i));
    for (int i = 1; i <= degree; ++i)
        derivative.push_back(static_cast<Element>(i) * locator[static_cast<size_t>(i)] % kField);
    Polynomial roots, numerators, denominators;
    std::vector<size_t> places;
    for (size_t place = 0; place < values.size(); ++place)
        if (values[place] == 0) {
            places.push_back(place);
            roots.push_back(inverses[place]);
        }
    // The evaluator's degree is below the locator's when there is a correction at all.
    if (Degree(evaluator) >= degree)
        return false;
    evaluator.resize(static_cast<size_t>(degree));
    Evaluate(evaluator, roots, numerators);
    Evaluate(derivative, roots, denominators);
    std::vector<int> result = words;
    for (size_t i = 0; i < places.size(); ++i) {
        if (denominators[i] == 0)
            return false;
        // The error is minus the quotient, and what is subtracted from the word.
        const Element error = numerators[i] * Inverse(denominators[i]) % kField;
        const auto value = static_cast<Element>(result[places[i]]);
        result[places[i]] = static_cast<int>((value + error) % kField);
        *corrected += error != 0;
    }
    words = std::move(result);
    return true;
}

} // namespace sd2::own
