// What encoding and decoding a 2-octet float costs: the most common value on the bus.
#include "KnxStack/GroupValue.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>

namespace {

// Values across the exponents, both signs, a decimal tie and a value needing the snap to an integer.
const std::array<double, 8> Float16Values = {21.5, -0.01, 0.29, 20.49, 40.95, -671088.64, 1234.56, 32.23};

void BM_Float16Encode(benchmark::State& state)
{
    KnxStack::GroupValue value;
    std::size_t i = 0;
    for (auto _ : state) {
        value.SetAsFloat16(Float16Values[i]);
        benchmark::DoNotOptimize(value);
        i = (i + 1) % Float16Values.size();
    }
}
BENCHMARK(BM_Float16Encode);

void BM_Float16Decode(benchmark::State& state)
{
    std::array<KnxStack::GroupValue, Float16Values.size()> encoded;
    for (std::size_t i = 0; i < Float16Values.size(); ++i)
        encoded[i].SetAsFloat16(Float16Values[i]);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(encoded[i]);
        double decoded = encoded[i].GetAsFloat16();
        benchmark::DoNotOptimize(decoded);
        i = (i + 1) % encoded.size();
    }
}
BENCHMARK(BM_Float16Decode);

} // namespace
