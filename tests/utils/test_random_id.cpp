#include "utils/random_id.h"

#include <gtest/gtest.h>

#include <regex>

namespace {

TEST(RandomId, IsANewUuidEachTime) {
    const std::regex uuid("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    const std::string first = random_id();
    EXPECT_TRUE(std::regex_match(first, uuid)) << first;
    EXPECT_NE(random_id(), first);
}

}  // namespace
