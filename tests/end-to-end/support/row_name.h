#ifndef TESTS_END_TO_END_SUPPORT_ROW_NAME_H
#define TESTS_END_TO_END_SUPPORT_ROW_NAME_H

#include <gtest/gtest.h>

#include <string>

namespace test {

/// Names the cases of a table test by the `name` of their rows.
template <class Row>
std::string RowName(const testing::TestParamInfo<Row>& row) {
    return row.param.name;
}

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_ROW_NAME_H
