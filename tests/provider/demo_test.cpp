// Runs the demonstration program and checks that each scenario shows the result it is
// there to show.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

#ifdef OLMA_DEMO_PATH

std::string RunDemo(int& status) {
  std::string output;
  FILE* pipe = popen(OLMA_DEMO_PATH " 2>&1", "r");
  if (pipe == nullptr) {
    status = -1;
    return output;
  }
  char buffer[4096];
  std::size_t read;
  while ((read = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0) output.append(buffer, read);
  status = pclose(pipe);
  return output;
}

// The text of scenario `number`: from its heading to the next one.
std::string Section(const std::string& output, int number) {
  const std::string heading = "\n== " + std::to_string(number) + ". ";
  const std::size_t begin = output.find(heading);
  if (begin == std::string::npos) return std::string();
  const std::size_t end = output.find("\n== ", begin + heading.size());
  return output.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
}

TEST(Demo, EachScenarioShowsItsResult) {
  int status = 0;
  const std::string output = RunDemo(status);
  ASSERT_EQ(status, 0) << output;

  EXPECT_NE(
      output.find("com.example.tasks.create_task\nInput: {sd{ create_task_input : { priority : INTEGER, "
                  "title : STRING, } }}  \nOutput: {sd{ task : "),
      std::string::npos)
      << output;

  struct Scenario {
    int number;
    std::vector<std::string> lines;  // expected in this order
  };
  const std::string invalidInput =
      "   olma.invoke.invalid.input<Invalid input for method: com.example.tasks.create_task>\n";
  const std::vector<Scenario> scenarios = {
      {1, {"result: MR [SUCCESS] Output: {{ task : { id : 7, priority : 2, title : Write report, } }} \n"}},
      {2,
       {"result: MR [FAIL] Error: Error:\n   com.zorvex.olma.std.errors.unexpected_input\nMessages:\n",
        invalidInput, "   olma.data.compound.field.missing<Missing field in compound: [priority] "}},
      {3,
       {"   com.zorvex.olma.std.errors.invalid_argument\n", invalidInput,
        "   olma.data.type.mismatch<Type mismatch: INTEGER != high>\n"}},
      {4,
       {"   com.zorvex.olma.std.errors.unexpected_input\n", invalidInput,
        "   olma.data.compound.field.extra<Extra field in compound: [owner] "}},
      {5,
       {"   com.example.tasks.errors.duplicate_title\n",
        "   com.example.tasks.duplicate<A task named 'Buy milk' exists already.>\n"}},
      {6,
       {"   com.zorvex.olma.std.errors.internal_server_error\n",
        "   olma.bindings.method.impl.unexpected<Unexpected error for method: com.example.tasks.get_task -> "
        "com.zorvex.olma.std.errors.unauthorized>\n",
        "   com.example.tasks.not.owner<Task 13 does not belong to ann.>\n"}},
      {7,
       {"   com.zorvex.olma.std.errors.internal_server_error\n",
        "   olma.invoke.invalid.output<Invalid output for method: com.example.tasks.count_tasks>\n",
        "   olma.data.compound.field.missing<Missing field in compound: [done] "}},
      {8,
       {"   com.zorvex.olma.std.errors.operation_not_found\n",
        "   olma.async.api.interface.missing.method<Interface missing method: "
        "com.example.tasks[delete_task]>\n"}},
  };
  for (const Scenario& scenario : scenarios) {
    SCOPED_TRACE("scenario " + std::to_string(scenario.number));
    const std::string section = Section(output, scenario.number);
    ASSERT_FALSE(section.empty()) << output;
    std::size_t at = 0;
    for (const std::string& line : scenario.lines) {
      const std::size_t found = section.find(line, at);
      ASSERT_NE(found, std::string::npos) << "missing or out of order: " << line << "\nin:" << section;
      at = found + line.size();
    }
  }
}

#else

TEST(Demo, EachScenarioShowsItsResult) {
  GTEST_SKIP() << "built without the examples";
}

#endif

}  // namespace
