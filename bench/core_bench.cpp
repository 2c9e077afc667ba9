// The core helpers against what a user would pick instead, on the same inputs:
// formatting (fmt, snprintf, ostringstream), CRC-32 (zlib), Base64 (a memcpy of the same
// bytes as the ceiling), date-time text (strptime + timegm + snprintf) and gzip (raw zlib
// with the same parameters).
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <zlib.h>

#include "olma/core/base64.h"
#include "olma/core/crc32.h"
#include "olma/core/date_time.h"
#include "olma/core/format.h"
#include "olma/core/gzip.h"
#include "ratio_reporter.h"

namespace {

constexpr std::size_t kMiB = 1 << 20;

Olma::ByteVector RandomBytes(std::size_t size) {
  std::mt19937 random(42);
  Olma::ByteVector bytes(size);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

// Text that compresses like a typical request body: repeated field names, varying values.
std::string SampleText(std::size_t size) {
  std::mt19937 random(7);
  std::string text;
  while (text.size() < size) {
    text += "{\"id\":" + std::to_string(random() % 100000) + ",\"name\":\"record-" +
            std::to_string(random() % 977) +
            "\",\"tags\":[\"alpha\",\"beta\"],\"price\":" + std::to_string(random() % 10000) + ".25},\n";
  }
  text.resize(size);
  return text;
}

const std::string kName = "widgets";

void BM_OlmaFormat(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(Olma::Format("{} items in {}", 42, kName));
}
void BM_FmtFormat(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(fmt::format("{} items in {}", 42, kName));
}
void BM_Snprintf(benchmark::State& state) {
  for (auto _ : state) {
    char buffer[64];
    const int n = std::snprintf(buffer, sizeof(buffer), "%d items in %s", 42, kName.c_str());
    benchmark::DoNotOptimize(std::string(buffer, static_cast<std::size_t>(n)));
  }
}
void BM_Ostringstream(benchmark::State& state) {
  for (auto _ : state) {
    std::ostringstream out;
    out << 42 << " items in " << kName;
    benchmark::DoNotOptimize(out.str());
  }
}
BENCHMARK(BM_OlmaFormat);
BENCHMARK(BM_FmtFormat);
BENCHMARK(BM_Snprintf);
BENCHMARK(BM_Ostringstream);

void BM_OlmaCrc32(benchmark::State& state) {
  const Olma::ByteVector data = RandomBytes(kMiB);
  for (auto _ : state) benchmark::DoNotOptimize(Olma::CRC32(data.data(), data.size()).checksum());
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * data.size()));
}
void BM_ZlibCrc32(benchmark::State& state) {
  const Olma::ByteVector data = RandomBytes(kMiB);
  for (auto _ : state) benchmark::DoNotOptimize(crc32(0L, data.data(), static_cast<uInt>(data.size())));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_OlmaCrc32);
BENCHMARK(BM_ZlibCrc32);

void BM_Base64Encode(benchmark::State& state) {
  const Olma::ByteVector data = RandomBytes(kMiB);
  for (auto _ : state) benchmark::DoNotOptimize(Olma::Base64::Encode(data));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * data.size()));
}
void BM_Base64Decode(benchmark::State& state) {
  const std::string text = Olma::Base64::Encode(RandomBytes(kMiB));
  for (auto _ : state) {
    std::string error;
    benchmark::DoNotOptimize(Olma::Base64::Decode(text, error));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
void BM_Memcpy(benchmark::State& state) {
  const Olma::ByteVector data = RandomBytes(kMiB);
  for (auto _ : state) {
    Olma::ByteVector copy(data.size());
    std::memcpy(copy.data(), data.data(), data.size());
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_Base64Encode);
BENCHMARK(BM_Base64Decode);
BENCHMARK(BM_Memcpy);

const char* const kInstant = "2021-06-01T12:34:56.789Z";

void BM_OlmaDateTimeParsePrint(benchmark::State& state) {
  const std::string text = kInstant;
  for (auto _ : state) {
    Olma::DateTime when;
    benchmark::DoNotOptimize(Olma::DateTime::Create(text, when));
    benchmark::DoNotOptimize(when.text());
  }
}
void BM_LibcDateTimeParsePrint(benchmark::State& state) {
  for (auto _ : state) {
    std::tm fields{};
    const char* rest = strptime(kInstant, "%Y-%m-%dT%H:%M:%S", &fields);
    const int millis = (rest != nullptr && *rest == '.') ? std::atoi(rest + 1) : 0;
    const std::time_t seconds = timegm(&fields);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char buffer[32];
    const int n =
        std::snprintf(buffer, sizeof(buffer), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.tm_year + 1900,
                      utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, millis % 1000);
    benchmark::DoNotOptimize(std::string(buffer, static_cast<std::size_t>(n)));
  }
}
BENCHMARK(BM_OlmaDateTimeParsePrint);
BENCHMARK(BM_LibcDateTimeParsePrint);

// Raw zlib with the parameters Gzip::Compress uses: level 9, gzip framing (window bits
// 31), memory level 8, default strategy, output in 4096-byte steps.
Olma::ByteVector ZlibGzip(const std::string& input) {
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
  stream.avail_in = static_cast<uInt>(input.size());
  Olma::ByteVector out;
  int result = Z_OK;
  do {
    unsigned char buffer[4096];
    stream.next_out = buffer;
    stream.avail_out = sizeof(buffer);
    result = deflate(&stream, Z_FINISH);
    out.insert(out.end(), buffer, buffer + (sizeof(buffer) - stream.avail_out));
  } while (result == Z_OK);
  deflateEnd(&stream);
  return out;
}

std::string ZlibGunzip(const Olma::ByteVector& input) {
  z_stream stream{};
  inflateInit2(&stream, 31);
  stream.next_in = const_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  std::string out;
  int result = Z_OK;
  do {
    char buffer[4096];
    stream.next_out = reinterpret_cast<Bytef*>(buffer);
    stream.avail_out = sizeof(buffer);
    result = inflate(&stream, Z_NO_FLUSH);
    out.append(buffer, sizeof(buffer) - stream.avail_out);
  } while (result == Z_OK);
  inflateEnd(&stream);
  return out;
}

void BM_OlmaGzipCompress(benchmark::State& state) {
  const std::string text = SampleText(kMiB);
  for (auto _ : state) {
    Olma::MessageList messages;
    benchmark::DoNotOptimize(Olma::Gzip::Compress(text, messages));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
void BM_ZlibGzipCompress(benchmark::State& state) {
  const std::string text = SampleText(kMiB);
  for (auto _ : state) benchmark::DoNotOptimize(ZlibGzip(text));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
void BM_OlmaGzipDecompress(benchmark::State& state) {
  const Olma::ByteVector packed = ZlibGzip(SampleText(kMiB));
  for (auto _ : state) {
    Olma::MessageList messages;
    benchmark::DoNotOptimize(Olma::Gzip::Decompress(packed, messages));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMiB));
}
void BM_ZlibGzipDecompress(benchmark::State& state) {
  const Olma::ByteVector packed = ZlibGzip(SampleText(kMiB));
  for (auto _ : state) benchmark::DoNotOptimize(ZlibGunzip(packed));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMiB));
}
BENCHMARK(BM_OlmaGzipCompress)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibGzipCompress)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OlmaGzipDecompress)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibGzipDecompress)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter({
      {"`Olma::Format(\"{} items in {}\", int, string)`",
       "BM_OlmaFormat",
       {{"`fmt::format`", "BM_FmtFormat"},
        {"`snprintf`", "BM_Snprintf"},
        {"`std::ostringstream`", "BM_Ostringstream"}},
       "no slower than fmt"},
      {"CRC-32 of 1 MiB",
       "BM_OlmaCrc32",
       {{"zlib `crc32()`", "BM_ZlibCrc32"}},
       "at least 0.9x zlib's throughput",
       true},
      {"Base64 encode of 1 MiB", "BM_Base64Encode", {{"`memcpy`", "BM_Memcpy"}}, "2 GB/s or more", true},
      {"Base64 decode (1.33 MiB of text)",
       "BM_Base64Decode",
       {{"`memcpy` of 1 MiB", "BM_Memcpy"}},
       "1.5 GB/s or more",
       true},
      {"date-time parse + print",
       "BM_OlmaDateTimeParsePrint",
       {{"`strptime`+`timegm`+`snprintf`", "BM_LibcDateTimeParsePrint"}},
       "faster than libc"},
      {"gzip compress, 1 MiB of text, level 9",
       "BM_OlmaGzipCompress",
       {{"raw zlib, same parameters,", "BM_ZlibGzipCompress"}},
       "within 5%"},
      {"gzip decompress", "BM_OlmaGzipDecompress", {{"raw zlib", "BM_ZlibGzipDecompress"}}, "within 5%"},
  });
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
