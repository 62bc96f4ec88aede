// Every saved input of a fuzz target is run through it on every test run, with or without the
// fuzzer.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(FuzzCorpus, EveryInputDecodesWithoutFault) {
  for (const auto& entry : std::filesystem::directory_iterator(SONDARA_FUZZ_CORPUS)) {
    std::ifstream in(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(in)), {});
    SCOPED_TRACE(entry.path().filename().string());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
}
