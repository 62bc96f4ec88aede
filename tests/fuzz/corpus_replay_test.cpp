// Every saved fuzz input is decoded on every test run, with or without the fuzzer.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(FuzzCorpus, EveryInputDecodesWithoutFault) {
  const std::filesystem::path dir = std::filesystem::path(SONDARA_TEST_DATA_DIR) / "fuzz/corpus";
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    std::ifstream in(entry.path(), std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), {});
    SCOPED_TRACE(entry.path().filename().string());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++count;
  }
  EXPECT_GT(count, 5);
}
