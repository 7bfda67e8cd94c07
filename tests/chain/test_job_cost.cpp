#include "chain/job_cost.h"

#include <gtest/gtest.h>

namespace {

TEST(JobCost, AddsUp) {
    job_cost sum{1.0, 20.0, 300.0, 4000.0, {}}, other{2.0, 30.0, 400.0, 5000.0, {}};
    sum.model.rows[3] = 5;
    other.model.rows[3] = 7;
    sum += other;
    EXPECT_EQ(sum.preparing_seconds, 3.0);
    EXPECT_EQ(sum.drawing_seconds, 50.0);
    EXPECT_EQ(sum.selection_seconds, 700.0);
    EXPECT_EQ(sum.model_seconds, 9000.0);
    EXPECT_EQ(sum.model.rows[3], 12);
}

}  // namespace
