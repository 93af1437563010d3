#include <array>
#include <cstring>
#include <vxxml/Base64.h>

namespace VxXmlLib16 {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr uint8_t kSkip = 0x40;    // '=', space, tab, CR, LF: ignored anywhere
constexpr uint8_t kInvalid = 0x80; // anything else outside the alphabet

// Two output characters per 12 input bits, laid out as two adjacent wchar_t
// in memory: one 8-byte store writes both. 32 KiB, so it stays in cache;
// this halves the lookups and stores of the one-symbol-at-a-time loop.
struct PairTable
{
    std::array<uint64_t, 4096> pairs{};
    PairTable()
    {
        for (uint32_t v = 0; v < 4096; ++v) {
            const wchar_t chars[2] = {static_cast<wchar_t>(kAlphabet[v >> 6]),
                                      static_cast<wchar_t>(kAlphabet[v & 0x3F])};
            std::memcpy(&pairs[v], chars, sizeof chars);
        }
    }
};
static_assert(sizeof(wchar_t) == 4, "the pair table packs two 32-bit characters");

const PairTable kPairs;

inline void PutPair(wchar_t* out, uint32_t twelveBits)
{
    std::memcpy(out, &kPairs.pairs[twelveBits], sizeof(uint64_t));
}

inline uint64_t LoadBigEndian64(const unsigned char* p)
{
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return __builtin_bswap64(v);
}

// Symbol value per 7-bit character, or kSkip/kInvalid. Both markers sit above
// the 6 value bits, so OR-ing four lookups tells at once whether a group of
// four characters is plain.
constexpr std::array<uint8_t, 128> MakeDecodeTable()
{
    std::array<uint8_t, 128> table{};
    for (auto& entry : table) {
        entry = kInvalid;
    }
    for (uint8_t i = 0; i < 64; ++i) {
        table[static_cast<unsigned char>(kAlphabet[i])] = i;
    }
    for (char c : {'=', ' ', '\t', '\r', '\n'}) {
        table[static_cast<unsigned char>(c)] = kSkip;
    }
    return table;
}

constexpr std::array<uint8_t, 128> kDecode = MakeDecodeTable();

// Only the low seven bits select the entry: a character above U+007F reads
// as the ASCII character it ends in.
inline uint8_t Lookup(wchar_t c)
{
    return kDecode[static_cast<uint32_t>(c) & 0x7F];
}

} // namespace

std::wstring CBase64::Encode(const unsigned char* bytes, uint32_t length)
{
    std::wstring text;
    if (bytes == nullptr || length == 0) {
        return text;
    }
    text.resize(GetEncodedLength(length));
    Encode(bytes, length, text.data());
    return text;
}

void CBase64::Encode(const unsigned char* bytes, uint32_t length, wchar_t* out)
{
    m_lpInput = bytes;
    m_dwInputLength = length;
    // Six bytes per step from one 8-byte load (two bytes read ahead, hence
    // the bound), two pair lookups per three bytes.
    uint32_t i = 0;
    for (; length - i >= 8; i += 6) {
        const uint64_t v = LoadBigEndian64(bytes + i);
        PutPair(out, static_cast<uint32_t>(v >> 52));
        PutPair(out + 2, static_cast<uint32_t>(v >> 40) & 0xFFF);
        PutPair(out + 4, static_cast<uint32_t>(v >> 28) & 0xFFF);
        PutPair(out + 6, static_cast<uint32_t>(v >> 16) & 0xFFF);
        out += 8;
    }
    for (; length - i >= 3; i += 3) {
        const uint32_t group =
            (uint32_t{bytes[i]} << 16) | (uint32_t{bytes[i + 1]} << 8) | bytes[i + 2];
        PutPair(out, group >> 12);
        PutPair(out + 2, group & 0xFFF);
        out += 4;
    }
    // One or two bytes left: their bits padded with zeros, then '='.
    m_nBitCount = 0;
    m_dwBitBuffer = 0;
    const uint32_t rest = length - i;
    if (rest != 0) {
        m_dwBitBuffer = uint32_t{bytes[i]} << 16;
        if (rest == 2) {
            m_dwBitBuffer |= uint32_t{bytes[i + 1]} << 8;
        }
        out[0] = static_cast<wchar_t>(kAlphabet[m_dwBitBuffer >> 18]);
        out[1] = static_cast<wchar_t>(kAlphabet[(m_dwBitBuffer >> 12) & 0x3F]);
        out[2] = rest == 2 ? static_cast<wchar_t>(kAlphabet[(m_dwBitBuffer >> 6) & 0x3F]) : L'=';
        out[3] = L'=';
    }
}

size_t CBase64::Decode(const wchar_t* text, size_t count, unsigned char* out)
{
    m_lpInput = nullptr;
    m_dwInputLength = count;
    // Locals rather than members in the loop: stores through out (unsigned
    // char) may alias anything, which would force the members back to memory
    // after every byte.
    uint32_t bits = 0;
    int32_t bitCount = 0;
    unsigned char* const start = out;
    size_t i = 0;
    while (i < count) {
        // Fastest path: eight plain symbols make six bytes, stored with one
        // 8-byte write (the two extra bytes are overwritten later; the
        // 12-character margin keeps them inside the output's room).
        if (bitCount == 0 && count - i >= 12) {
            uint8_t v[8];
            uint8_t flags = 0;
            for (int k = 0; k < 8; ++k) {
                v[k] = Lookup(text[i + k]);
                flags |= v[k];
            }
            if ((flags & (kSkip | kInvalid)) == 0) {
                uint64_t bits48 = 0;
                for (int k = 0; k < 8; ++k) {
                    bits48 = (bits48 << 6) | v[k];
                }
                const uint64_t be = __builtin_bswap64(bits48 << 16);
                std::memcpy(out, &be, sizeof be);
                out += 6;
                i += 8;
                continue;
            }
        }
        // Fast path: at a group boundary, four plain symbols make three bytes.
        if (bitCount == 0 && count - i >= 4) {
            const uint8_t a = Lookup(text[i]);
            const uint8_t b = Lookup(text[i + 1]);
            const uint8_t c = Lookup(text[i + 2]);
            const uint8_t d = Lookup(text[i + 3]);
            if (((a | b | c | d) & (kSkip | kInvalid)) == 0) {
                const uint32_t group =
                    (uint32_t{a} << 18) | (uint32_t{b} << 12) | (uint32_t{c} << 6) | d;
                out[0] = static_cast<unsigned char>(group >> 16);
                out[1] = static_cast<unsigned char>(group >> 8);
                out[2] = static_cast<unsigned char>(group);
                out += 3;
                i += 4;
                continue;
            }
        }
        // One character at a time through the accumulator.
        const uint8_t v = Lookup(text[i++]);
        if (v & kInvalid) {
            m_nBitCount = 0;
            m_dwBitBuffer = 0;
            return 0;
        }
        if (v & kSkip) {
            continue;
        }
        bits = (bits << 6) | v;
        bitCount += 6;
        if (bitCount >= 8) {
            bitCount -= 8;
            *out++ = static_cast<unsigned char>(bits >> bitCount);
            bits &= (1u << bitCount) - 1;
        }
    }
    m_nBitCount = bitCount;
    m_dwBitBuffer = bits;
    return static_cast<size_t>(out - start);
}

} // namespace VxXmlLib16
