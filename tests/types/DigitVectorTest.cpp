#include "TestHelpers.h"

#include <random>
#include <vector>
#include <vxxml/DigitVector.h>

using namespace VxXmlLib16;

namespace {

std::vector<wchar_t> Contents(const CDigitVector& v)
{
    return {v.begin(), v.end()};
}

// The same random edits applied to a CDigitVector and a std::vector give the
// same contents, whether the digits are inline, on the heap, or crossing
// between the two; swaps and moves mix inline and heap operands.
TEST(DigitVector, BehavesLikeVectorAcrossTheInlineLimit)
{
    std::mt19937 rng(7);
    for (int round = 0; round < 2000; ++round) {
        CDigitVector a;
        CDigitVector b;
        std::vector<wchar_t> ra;
        std::vector<wchar_t> rb;
        for (int step = 0; step < 12; ++step) {
            const size_t n = rng() % (2 * CDigitVector::kInline + 3);
            const auto digit = static_cast<wchar_t>(rng() % 10);
            switch (rng() % 8) {
            case 0:
                a.assign(n, digit);
                ra.assign(n, digit);
                break;
            case 1: {
                const size_t at = rng() % (a.size() + 1);
                a.insert(a.begin() + at, n, digit);
                ra.insert(ra.begin() + static_cast<std::ptrdiff_t>(at), n, digit);
                break;
            }
            case 2:
                a.push_back(digit);
                ra.push_back(digit);
                break;
            case 3:
                if (!a.empty()) {
                    const size_t from = rng() % a.size();
                    const size_t to = from + rng() % (a.size() - from + 1);
                    a.erase(a.begin() + from, a.begin() + to);
                    ra.erase(ra.begin() + from, ra.begin() + to);
                }
                break;
            case 4:
                a.resize(n, digit);
                ra.resize(n, digit);
                break;
            case 5: // a range of its own digits
                if (!a.empty()) {
                    const size_t from = rng() % a.size();
                    a.assign(a.begin() + from, a.end());
                    ra.assign(ra.begin() + from, ra.end());
                }
                break;
            case 6:
                a.swap(b);
                ra.swap(rb);
                break;
            default: // a moved-from vector is left empty
                if (rng() % 2) {
                    b = a;
                } else {
                    b = std::move(a);
                    ra.swap(rb);
                    ra.clear();
                    break;
                }
                rb = ra;
                break;
            }
            ASSERT_EQ(Contents(a), ra) << "round " << round << " step " << step;
            ASSERT_EQ(Contents(b), rb) << "round " << round << " step " << step;
        }
    }
}

} // namespace
