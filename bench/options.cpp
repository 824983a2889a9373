// Option blocks beside other ways to keep named values and to turn them into bytes and back.
//
// Everybody holds the same values: as many names as the size says, a third of them integers, a third real
// numbers, a third texts. The peers keep 8-bit names and texts, ours wide ones; in bytes, ours takes twice
// the room for texts.
#include "TBlocOpcions.h"

#include "sink.h"

#include <benchmark/benchmark.h>

#include <google/protobuf/struct.pb.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;
using Struct = google::protobuf::Struct;

struct Named {
    std::string narrow;
    std::wstring wide;
    int kind;
    std::string text;
    std::wstring wideText;
};

enum Names { MIXED, NUMBERED };

// The values in an order that is not the one of their names.
const std::vector<Named>& Values(int count, Names names) {
    static std::vector<std::pair<std::pair<int, Names>, std::unique_ptr<std::vector<Named>>>> made;
    for (auto& entry : made)
        if (entry.first == std::pair(count, names))
            return *entry.second;
    std::mt19937 random(7);
    auto values = std::make_unique<std::vector<Named>>();
    for (int i = 0; i < count; ++i) {
        Named named;
        if (names == NUMBERED) {
            named.narrow = "option" + std::to_string(i);
        } else {
            for (unsigned length = 4 + random() % 12; length > 0; --length)
                named.narrow.push_back(static_cast<char>('a' + random() % 26));
            named.narrow += std::to_string(i);
        }
        named.kind = i % 3;
        for (unsigned length = random() % 24; length > 0; --length)
            named.text.push_back(static_cast<char>('a' + random() % 26));
        named.wide.assign(named.narrow.begin(), named.narrow.end());
        named.wideText.assign(named.text.begin(), named.text.end());
        values->push_back(std::move(named));
    }
    std::shuffle(values->begin(), values->end(), random);
    // A copy, so that everybody's names and texts lie in memory in the order in which they are used.
    made.emplace_back(std::pair(count, names), std::make_unique<std::vector<Named>>(*values));
    return *made.back().second;
}

const std::vector<Named>& Values(benchmark::State& state) {
    return Values(static_cast<int>(state.range(0)), MIXED);
}

void Fill(TBlocOpcions& block, const std::vector<Named>& values) {
    int i = 0;
    for (const Named& value : values) {
        ++i;
        if (value.kind == 0)
            block.EntraValorInt32(value.wide.c_str(), i);
        else if (value.kind == 1)
            block.EntraValorReal64(value.wide.c_str(), i * 0.5);
        else
            block.EntraValorString(value.wide.c_str(), value.wideText.c_str());
    }
}

void Fill(Json& json, const std::vector<Named>& values) {
    int i = 0;
    for (const Named& value : values) {
        ++i;
        if (value.kind == 0)
            json[value.narrow] = i;
        else if (value.kind == 1)
            json[value.narrow] = i * 0.5;
        else
            json[value.narrow] = value.text;
    }
}

void Fill(Struct& message, const std::vector<Named>& values) {
    auto& fields = *message.mutable_fields();
    int i = 0;
    for (const Named& value : values) {
        ++i;
        if (value.kind == 0)
            fields[value.narrow].set_number_value(i);
        else if (value.kind == 1)
            fields[value.narrow].set_number_value(i * 0.5);
        else
            fields[value.narrow].set_string_value(value.text);
    }
}

// ---- Filling and freeing

template <class Holder>
void FillWith(benchmark::State& state) {
    const auto& values = Values(state);
    for (auto _ : state) {
        Holder holder;
        Fill(holder, values);
        Keep(holder);
    }
}

void FillNumbered(benchmark::State& state) {
    const auto& values = Values(static_cast<int>(state.range(0)), NUMBERED);
    for (auto _ : state) {
        TBlocOpcions block;
        Fill(block, values);
        Keep(block);
    }
}

// ---- Getting every value by its name

void GetOurs(benchmark::State& state) {
    const auto& values = Values(state);
    TBlocOpcions block;
    Fill(block, values);
    for (auto _ : state) {
        double sum = 0;
        for (const Named& value : values) {
            if (value.kind == 0)
                sum += static_cast<double>(block.TornaValorInt32(value.wide.c_str(), 0));
            else if (value.kind == 1)
                sum += block.TornaValorReal64(value.wide.c_str(), 0);
            else
                sum += block.TornaValorString(value.wide.c_str(), nullptr).GetLength();
        }
        Keep(sum);
    }
}

void GetJson(benchmark::State& state) {
    const auto& values = Values(state);
    Json json;
    Fill(json, values);
    for (auto _ : state) {
        double sum = 0;
        for (const Named& value : values) {
            const auto found = json.find(value.narrow);
            if (value.kind == 0)
                sum += found->get<int>();
            else if (value.kind == 1)
                sum += found->get<double>();
            else
                sum += static_cast<double>(found->get<std::string>().size());
        }
        Keep(sum);
    }
}

void GetStruct(benchmark::State& state) {
    const auto& values = Values(state);
    Struct message;
    Fill(message, values);
    for (auto _ : state) {
        double sum = 0;
        for (const Named& value : values) {
            const auto found = message.fields().find(value.narrow);
            if (value.kind != 2)
                sum += found->second.number_value();
            else
                sum += static_cast<double>(std::string(found->second.string_value()).size());
        }
        Keep(sum);
    }
}

// ---- To bytes

void ToOurs(benchmark::State& state) {
    TBlocOpcions block;
    Fill(block, Values(state));
    for (auto _ : state) {
        unsigned int size;
        unsigned char* bytes = block.ToBlocDades(size);
        Keep(bytes[size - 1]);
        std::free(bytes);
    }
}

template <std::vector<std::uint8_t> (*Convert)(const Json&)>
void ToJson(benchmark::State& state) {
    Json json;
    Fill(json, Values(state));
    for (auto _ : state) {
        const std::vector<std::uint8_t> bytes = Convert(json);
        Keep(bytes.back());
    }
}

void ToStruct(benchmark::State& state) {
    Struct message;
    Fill(message, Values(state));
    for (auto _ : state) {
        const std::string bytes = message.SerializeAsString();
        Keep(bytes.back());
    }
}

// ---- From bytes

void FromOurs(benchmark::State& state) {
    unsigned int size;
    unsigned char* bytes;
    {
        TBlocOpcions block;
        Fill(block, Values(state));
        bytes = block.ToBlocDades(size);
    }
    for (auto _ : state) {
        TBlocOpcions block;
        if (block.FromBlocDades(bytes, size, 0) != 0)
            state.SkipWithError("not loaded");
        Keep(block);
    }
    std::free(bytes);
}

std::vector<std::uint8_t> Cbor(const Json& json) {
    return Json::to_cbor(json);
}
std::vector<std::uint8_t> MessagePack(const Json& json) {
    return Json::to_msgpack(json);
}
Json FromCbor(const std::vector<std::uint8_t>& bytes) {
    return Json::from_cbor(bytes);
}
Json FromMessagePack(const std::vector<std::uint8_t>& bytes) {
    return Json::from_msgpack(bytes);
}

template <std::vector<std::uint8_t> (*Convert)(const Json&), Json (*Parse)(const std::vector<std::uint8_t>&)>
void FromJson(benchmark::State& state) {
    std::vector<std::uint8_t> bytes;
    {
        Json json;
        Fill(json, Values(state));
        bytes = Convert(json);
    }
    for (auto _ : state) {
        const Json json = Parse(bytes);
        Keep(json);
    }
}

void FromStruct(benchmark::State& state) {
    std::string bytes;
    {
        Struct message;
        Fill(message, Values(state));
        bytes = message.SerializeAsString();
    }
    for (auto _ : state) {
        Struct message;
        if (!message.ParseFromString(bytes))
            state.SkipWithError("not parsed");
        Keep(message);
    }
}

void Sizes(benchmark::internal::Benchmark* job) {
    job->Arg(10)->Arg(1000)->Arg(100000);
}
void GrowingSizes(benchmark::internal::Benchmark* job) {
    job->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000);
}

BENCHMARK_TEMPLATE(FillWith, TBlocOpcions)->Name("options/fill/ours")->Apply(GrowingSizes);
BENCHMARK_TEMPLATE(FillWith, Json)->Name("options/fill/peer-nlohmann")->Apply(Sizes);
BENCHMARK_TEMPLATE(FillWith, Struct)->Name("options/fill/peer-protobuf")->Apply(Sizes);
BENCHMARK(FillNumbered)->Name("options/fill-numbered/ours")->Apply(GrowingSizes);
BENCHMARK(GetOurs)->Name("options/get/ours")->Apply(GrowingSizes);
BENCHMARK(GetJson)->Name("options/get/peer-nlohmann")->Apply(Sizes);
BENCHMARK(GetStruct)->Name("options/get/peer-protobuf")->Apply(Sizes);
BENCHMARK(ToOurs)->Name("options/to-bytes/ours")->Apply(GrowingSizes);
BENCHMARK_TEMPLATE(ToJson, Cbor)->Name("options/to-bytes/peer-cbor")->Apply(Sizes);
BENCHMARK_TEMPLATE(ToJson, MessagePack)->Name("options/to-bytes/peer-msgpack")->Apply(Sizes);
BENCHMARK(ToStruct)->Name("options/to-bytes/peer-protobuf")->Apply(Sizes);
BENCHMARK(FromOurs)->Name("options/from-bytes/ours")->Apply(GrowingSizes);
BENCHMARK_TEMPLATE(FromJson, Cbor, FromCbor)->Name("options/from-bytes/peer-cbor")->Apply(Sizes);
BENCHMARK_TEMPLATE(FromJson, MessagePack, FromMessagePack)
    ->Name("options/from-bytes/peer-msgpack")
    ->Apply(Sizes);
BENCHMARK(FromStruct)->Name("options/from-bytes/peer-protobuf")->Apply(Sizes);

} // namespace
