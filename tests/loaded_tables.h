// Included by tests that count heap blocks: the reference data, loaded lazily and kept for the life
// of the process, is there before the first test, so that a test run alone sees only its own
// blocks.
#ifndef OPRJ_TESTS_LOADED_TABLES_H
#define OPRJ_TESTS_LOADED_TABLES_H

#include <gtest/gtest.h>
#include <oprj/tables.h>

namespace orvik::test {

class LoadedTables : public testing::Environment {
 public:
  void SetUp() override {
    ASSERT_NE(oprj_InitDataGet(oint_InitToolkit(nullptr), nullptr), nullptr)
        << "the reference data cannot be loaded";
  }
};

inline testing::Environment *const kLoadedTables =
    testing::AddGlobalTestEnvironment(new LoadedTables);

}  // namespace orvik::test

#endif
