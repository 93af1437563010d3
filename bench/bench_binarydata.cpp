// CBinaryData::Append against std::vector<uint8_t>::insert, and the base64
// codec against OpenSSL's EVP_EncodeBlock/EVP_DecodeBlock, in one process so
// that the ratios do not depend on the machine.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <random>
#include <string>
#include <vector>
#include <vxxml/Base64.h>
#include <vxxml/BinaryData.h>

#if __has_include(<openssl/evp.h>)
#include <openssl/evp.h>
#define VXXML_HAVE_OPENSSL 1
#endif

using namespace VxXmlLib16;

namespace {

constexpr size_t kAppendTotal = 1 << 20; // 1 MiB
constexpr size_t kPiece = 64;
constexpr size_t kBase64Size = 16 << 20; // 16 MiB

const std::vector<unsigned char>& RandomBytes(size_t n)
{
    static std::vector<unsigned char> bytes = [n] {
        std::vector<unsigned char> b(n);
        std::mt19937 rng(12345);
        for (auto& x : b) {
            x = static_cast<unsigned char>(rng());
        }
        return b;
    }();
    return bytes;
}

void BM_Append_CBinaryData(benchmark::State& state)
{
    const auto& src = RandomBytes(kBase64Size);
    for (auto _ : state) {
        CBinaryData d;
        for (size_t off = 0; off < kAppendTotal; off += kPiece) {
            d.Append(src.data() + off, kPiece);
        }
        benchmark::DoNotOptimize(d.GetData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kAppendTotal));
}
BENCHMARK(BM_Append_CBinaryData);

void BM_Append_Vector(benchmark::State& state)
{
    const auto& src = RandomBytes(kBase64Size);
    for (auto _ : state) {
        std::vector<uint8_t> v;
        for (size_t off = 0; off < kAppendTotal; off += kPiece) {
            v.insert(v.end(), src.data() + off, src.data() + off + kPiece);
        }
        benchmark::DoNotOptimize(v.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kAppendTotal));
}
BENCHMARK(BM_Append_Vector);

// Base64 comes in two pairs. "Codec": both encoders write into an output
// buffer allocated once outside the loop, which measures the conversion
// itself. "Api": each iteration produces a fresh result as a caller would
// get it: GetAsBase64 returns a new std::wstring (4 bytes per character,
// 89 MB for 16 MiB), SetAsBase64 a new value; OpenSSL's side allocates a
// fresh std::string / std::vector for its (1 byte per character) output.

std::wstring EncodedText()
{
    const auto& src = RandomBytes(kBase64Size);
    return CBinaryData(src.data(), static_cast<uint32_t>(src.size())).GetAsBase64();
}

void BM_Base64Encode_Codec_CBase64(benchmark::State& state)
{
    const auto& src = RandomBytes(kBase64Size);
    std::wstring out(CBase64::GetEncodedLength(src.size()), L'\0');
    CBase64 codec;
    for (auto _ : state) {
        codec.Encode(src.data(), static_cast<uint32_t>(src.size()), out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Encode_Codec_CBase64)->Unit(benchmark::kMillisecond);

void BM_Base64Decode_Codec_CBase64(benchmark::State& state)
{
    const std::wstring text = EncodedText();
    std::vector<unsigned char> out(CBase64::GetMaxDecodedLength(text.size()));
    CBase64 codec;
    for (auto _ : state) {
        const size_t n = codec.Decode(text.data(), text.size(), out.data());
        benchmark::DoNotOptimize(n);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Decode_Codec_CBase64)->Unit(benchmark::kMillisecond);

void BM_Base64Encode_Api_GetAsBase64(benchmark::State& state)
{
    const auto& src = RandomBytes(kBase64Size);
    const CBinaryData data(src.data(), static_cast<uint32_t>(src.size()));
    for (auto _ : state) {
        std::wstring text = data.GetAsBase64();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Encode_Api_GetAsBase64)->Unit(benchmark::kMillisecond);

void BM_Base64Decode_Api_SetAsBase64(benchmark::State& state)
{
    const std::wstring text = EncodedText();
    for (auto _ : state) {
        CBinaryData d;
        d.SetAsBase64(text.c_str());
        benchmark::DoNotOptimize(d.GetData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Decode_Api_SetAsBase64)->Unit(benchmark::kMillisecond);

#ifdef VXXML_HAVE_OPENSSL
std::string OpenSslText()
{
    const auto& src = RandomBytes(kBase64Size);
    std::string text((src.size() + 2) / 3 * 4 + 1, '\0');
    const int len = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), src.data(),
                                    static_cast<int>(src.size()));
    text.resize(static_cast<size_t>(len));
    return text;
}

void BM_Base64Encode_Codec_OpenSSL(benchmark::State& state)
{
    const auto& src = RandomBytes(kBase64Size);
    std::string out((src.size() + 2) / 3 * 4 + 1, '\0');
    for (auto _ : state) {
        const int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()), src.data(),
                                      static_cast<int>(src.size()));
        benchmark::DoNotOptimize(n);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Encode_Codec_OpenSSL)->Unit(benchmark::kMillisecond);

void BM_Base64Decode_Codec_OpenSSL(benchmark::State& state)
{
    const std::string text = OpenSslText();
    std::vector<unsigned char> out(text.size() / 4 * 3 + 3);
    for (auto _ : state) {
        const int n =
            EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<int>(text.size()));
        benchmark::DoNotOptimize(n);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Decode_Codec_OpenSSL)->Unit(benchmark::kMillisecond);

void BM_Base64Encode_Api_OpenSSL(benchmark::State& state)
{
    const auto& src = RandomBytes(kBase64Size);
    for (auto _ : state) {
        std::string text;
        text.resize((src.size() + 2) / 3 * 4 + 1);
        const int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), src.data(),
                                      static_cast<int>(src.size()));
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Encode_Api_OpenSSL)->Unit(benchmark::kMillisecond);

// The same result type as GetAsBase64: OpenSSL's text widened into a fresh
// std::wstring, which is what a caller needing wide text would have to do.
void BM_Base64Encode_Api_OpenSSLToWString(benchmark::State& state)
{
    const auto& src = RandomBytes(kBase64Size);
    for (auto _ : state) {
        std::string text;
        text.resize((src.size() + 2) / 3 * 4 + 1);
        const int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), src.data(),
                                      static_cast<int>(src.size()));
        std::wstring wide(text.begin(), text.begin() + n);
        benchmark::DoNotOptimize(wide.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Encode_Api_OpenSSLToWString)->Unit(benchmark::kMillisecond);

void BM_Base64Decode_Api_OpenSSL(benchmark::State& state)
{
    const std::string text = OpenSslText();
    for (auto _ : state) {
        std::vector<unsigned char> out;
        out.resize(text.size() / 4 * 3 + 3);
        const int n =
            EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<int>(text.size()));
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Size));
}
BENCHMARK(BM_Base64Decode_Api_OpenSSL)->Unit(benchmark::kMillisecond);
#endif

} // namespace

BENCHMARK_MAIN();
