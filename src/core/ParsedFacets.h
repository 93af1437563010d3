// The facets of a CPrimitiveRestrictions in the form the checks use: bounds
// converted to the value type, the pattern compiled. Internal to the library.
//
// A record keeps its facets as text so that one record serves every value
// type. Converting the bounds (and finding the compiled pattern) on every
// check cost more than the check itself, so each record converts them once
// per value kind and keeps the result. Generated metadata is shared by all
// threads, so the cache is filled without a lock: a thread that finds a slot
// empty builds the entry and publishes it with a compare-and-swap; when two
// race, the loser drops its copy. Entries never change once published and
// live as long as the record (or until it is assigned to).
#pragma once

#include "core/XsdPattern.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vxxml/ItemType.h>
#include <vxxml/PrimitiveRestrictions.h>

namespace VxXmlLib16::detail {

// Stores what make() returns in slot unless another thread got there first;
// answers the entry that stays. make() may throw: nothing is stored then.
template <class Base, class Make> Base* PublishOnce(std::atomic<Base*>& slot, Make make)
{
    Base* current = slot.load(std::memory_order_acquire);
    if (current != nullptr) {
        return current;
    }
    std::unique_ptr<Base> fresh = make();
    if (slot.compare_exchange_strong(current, fresh.get(), std::memory_order_acq_rel,
                                     std::memory_order_acquire)) {
        return fresh.release();
    }
    return current;
}

class CParsedBoundsBase
{
public:
    virtual ~CParsedBoundsBase() = default;
};

// minInclusive, maxInclusive, minExclusive, maxExclusive converted to T.
// A bound whose text does not convert keeps no value; the check converts it
// again when it gets there, so that it fails with the conversion's own
// exception every time and only when the bound is actually reached.
template <class T> class CParsedBounds final : public CParsedBoundsBase
{
public:
    enum Which { MinInclusive, MaxInclusive, MinExclusive, MaxExclusive };

    template <class Convert>
    CParsedBounds(const VxXmlLib16Data::CPrimitiveRestrictions& r, Convert convert)
    {
        for (int i = 0; i < 4; ++i) {
            const std::wstring& text = Text(r, static_cast<Which>(i));
            m_bPresent[i] = !text.empty();
            if (m_bPresent[i]) {
                try {
                    m_value[i].emplace(convert(text));
                } catch (...) {
                    // Left empty: the check that reaches this bound converts
                    // it again and fails there, as it always did.
                }
            }
        }
    }

    bool IsPresent(Which which) const { return m_bPresent[which]; }
    // Null when the bound's text does not convert.
    const T* Get(Which which) const { return m_value[which] ? &*m_value[which] : nullptr; }

    static const std::wstring& Text(const VxXmlLib16Data::CPrimitiveRestrictions& r, Which which)
    {
        switch (which) {
        case MinInclusive:
            return r.GetMinInclusive();
        case MaxInclusive:
            return r.GetMaxInclusive();
        case MinExclusive:
            return r.GetMinExclusive();
        default:
            return r.GetMaxExclusive();
        }
    }

private:
    bool m_bPresent[4] = {};
    std::optional<T> m_value[4];
};

// Whether a value of kind passes r without looking at it: no facet is set
// and the kind is one the checks know (an unknown kind is refused even
// then). Lets a writer skip the call for the many members without facets.
inline bool PassesUnchecked(const VxXmlLib16Data::CPrimitiveRestrictions& r, ItemType kind)
{
    return r.IsEmpty() && kind >= ItemType_hexBinary && kind <= ItemType_integer;
}

class CParsedFacets
{
public:
    CParsedFacets() = default;
    ~CParsedFacets();
    CParsedFacets(const CParsedFacets&) = delete;
    CParsedFacets& operator=(const CParsedFacets&) = delete;

    // The groups of facets a record may set.
    enum Kind : uint8_t {
        kPattern = 1,     // xs:pattern
        kLengths = 2,     // xs:minLength, xs:maxLength, xs:length
        kBounds = 4,      // the four inclusive and exclusive bounds
        kTotalDigits = 8, // xs:totalDigits
        kFractionDigits = 16,
    };
    static uint8_t Kinds(const VxXmlLib16Data::CPrimitiveRestrictions& r) { return r.m_facetKinds; }

    // The cache of r, made on first use.
    static CParsedFacets& Of(const VxXmlLib16Data::CPrimitiveRestrictions& r)
    {
        return *PublishOnce(r.m_pParsed, [] { return std::make_unique<CParsedFacets>(); });
    }

    // The bounds of r converted for values of kind, which are always of type
    // T (each kind has one type and one conversion).
    template <class T, class Convert>
    const CParsedBounds<T>& Bounds(const VxXmlLib16Data::CPrimitiveRestrictions& r, ItemType kind,
                                   Convert convert)
    {
        CParsedBoundsBase* entry = PublishOnce(m_bounds[static_cast<size_t>(kind)], [&] {
            return std::unique_ptr<CParsedBoundsBase>(new CParsedBounds<T>(r, convert));
        });
        return static_cast<const CParsedBounds<T>&>(*entry);
    }

    // The compiled pattern of r (not empty). A pattern that does not compile
    // is not kept: it throws the same message every time it is used.
    const CXsdPattern& Pattern(const VxXmlLib16Data::CPrimitiveRestrictions& r);

private:
    static constexpr size_t kKinds = ItemType_XmlCollection + 1;
    std::atomic<CParsedBoundsBase*> m_bounds[kKinds] = {};
    std::atomic<std::shared_ptr<const CXsdPattern>*> m_pPattern{nullptr};
};

} // namespace VxXmlLib16::detail
