#include <gtest/gtest.h>

#include <tavcore/testing/Complaint.hpp>

int main(int argc, char** argv) {
  tav::doubles::complain = [](const std::string& text) { ADD_FAILURE() << text; };
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
