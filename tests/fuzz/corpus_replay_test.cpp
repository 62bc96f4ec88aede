// Every saved input of a fuzz target is run through it on every test run, with or without the
// fuzzer.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Named after the target (FuzzCorpus.snmp_message, ...), so that ctest tells the corpora apart.
#define SONDARA_REPLAY_TEST(target) TEST(FuzzCorpus, target)

SONDARA_REPLAY_TEST(SONDARA_FUZZ_TARGET) {
  for (const auto& entry : std::filesystem::directory_iterator(SONDARA_FUZZ_CORPUS)) {
    std::ifstream in(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(in)), {});
    SCOPED_TRACE(entry.path().filename().string());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
}
