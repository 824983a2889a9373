// Base64 beside OpenSSL, Boost.Beast and modp_b64, which work on bytes; ours works on wchar_t, of 4 bytes
// here.
#include <benchmark/benchmark.h>
#include <boost/beast/core/detail/base64.hpp>
#include <modp_b64.h>
#include <openssl/evp.h>

#include <string>
#include <vector>

#include "sink.h"
#include "XMLNode.h"

namespace {

std::vector<unsigned char> MakeBytes(size_t size) {
    std::vector<unsigned char> bytes(size);
    unsigned int state = 62;
    for (unsigned char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<unsigned char>(state >> 24);
    }
    return bytes;
}

std::string MakeText(size_t size) {
    std::vector<unsigned char> bytes = MakeBytes(size);
    std::string text(modp_b64_encode_len(size), '\0');
    text.resize(modp_b64_encode(text.data(), reinterpret_cast<const char*>(bytes.data()), size));
    return text;
}

void EncodeOurs(benchmark::State& state, char formatted) {
    std::vector<unsigned char> bytes = MakeBytes(static_cast<size_t>(state.range(0)));
    XMLParserBase64Tool tool;
    for (auto _ : state)
        Keep(*tool.encode(bytes.data(), static_cast<unsigned int>(bytes.size()), formatted));
}

void EncodeOpenssl(benchmark::State& state) {
    std::vector<unsigned char> bytes = MakeBytes(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> text(bytes.size() * 2);
    for (auto _ : state) {
        EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size()));
        Keep(text[0]);
    }
}

void EncodeLinesOpenssl(benchmark::State& state) {
    std::vector<unsigned char> bytes = MakeBytes(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> text(bytes.size() * 2 + 100);
    EVP_ENCODE_CTX* context = EVP_ENCODE_CTX_new();
    for (auto _ : state) {
        int first = 0;
        int last = 0;
        EVP_EncodeInit(context);
        EVP_EncodeUpdate(context, text.data(), &first, bytes.data(), static_cast<int>(bytes.size()));
        EVP_EncodeFinal(context, text.data() + first, &last);
        Keep(text[0]);
    }
    EVP_ENCODE_CTX_free(context);
}

void EncodeBeast(benchmark::State& state) {
    std::vector<unsigned char> bytes = MakeBytes(static_cast<size_t>(state.range(0)));
    std::string text(bytes.size() * 2 + 8, '\0');
    for (auto _ : state) {
        boost::beast::detail::base64::encode(text.data(), bytes.data(), bytes.size());
        Keep(text[0]);
    }
}

void EncodeModp(benchmark::State& state) {
    std::vector<unsigned char> bytes = MakeBytes(static_cast<size_t>(state.range(0)));
    std::string text(modp_b64_encode_len(bytes.size()), '\0');
    for (auto _ : state) {
        modp_b64_encode(text.data(), reinterpret_cast<const char*>(bytes.data()), bytes.size());
        Keep(text[0]);
    }
}

void DecodeOurs(benchmark::State& state) {
    std::string narrow = MakeText(static_cast<size_t>(state.range(0)));
    std::wstring text(narrow.begin(), narrow.end());
    std::vector<unsigned char> bytes(static_cast<size_t>(state.range(0)) + 8);
    for (auto _ : state) {
        if (XMLParserBase64Tool::decode(text.c_str(), bytes.data(), static_cast<int>(state.range(0))) != 2)
            state.SkipWithError("not decoded");
        Keep(bytes[0]);
    }
}

void DecodeOpenssl(benchmark::State& state) {
    std::string text = MakeText(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> bytes(text.size());
    for (auto _ : state) {
        EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
        Keep(bytes[0]);
    }
}

void DecodeBeast(benchmark::State& state) {
    std::string text = MakeText(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> bytes(text.size());
    for (auto _ : state) {
        boost::beast::detail::base64::decode(bytes.data(), text.data(), text.size());
        Keep(bytes[0]);
    }
}

void DecodeModp(benchmark::State& state) {
    std::string text = MakeText(static_cast<size_t>(state.range(0)));
    std::string bytes(modp_b64_decode_len(text.size()), '\0');
    for (auto _ : state) {
        modp_b64_decode(bytes.data(), text.data(), text.size());
        Keep(bytes[0]);
    }
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
    for (int size = 3000; size <= 3000000; size *= 10)
        benchmark->Arg(size);
}

BENCHMARK_CAPTURE(EncodeOurs, plain, 0)->Name("base64/encode/ours")->Apply(Sizes);
BENCHMARK(EncodeOpenssl)->Name("base64/encode/peer-openssl")->Apply(Sizes);
BENCHMARK(EncodeBeast)->Name("base64/encode/peer-beast")->Apply(Sizes);
BENCHMARK(EncodeModp)->Name("base64/encode/peer-modp")->Apply(Sizes);
BENCHMARK_CAPTURE(EncodeOurs, lines, 1)->Name("base64/encode-lines/ours")->Apply(Sizes);
BENCHMARK(EncodeLinesOpenssl)->Name("base64/encode-lines/peer-openssl")->Apply(Sizes);
BENCHMARK(DecodeOurs)->Name("base64/decode/ours")->Apply(Sizes);
BENCHMARK(DecodeOpenssl)->Name("base64/decode/peer-openssl")->Apply(Sizes);
BENCHMARK(DecodeBeast)->Name("base64/decode/peer-beast")->Apply(Sizes);
BENCHMARK(DecodeModp)->Name("base64/decode/peer-modp")->Apply(Sizes);

} // namespace
