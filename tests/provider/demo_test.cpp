// Runs the demonstration program and checks that each scenario shows the result it is
// there to show.
#include <cstdio>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace {

#ifdef OLMA_DEMO_PATH

TEST(Demo, EachScenarioShowsItsResult) {
  FILE* pipe = popen(OLMA_DEMO_PATH " 2>&1", "r");
  ASSERT_NE(pipe, nullptr);
  std::string output;
  char buffer[4096];
  for (std::size_t read; (read = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;)
    output.append(buffer, read);
  ASSERT_EQ(pclose(pipe), 0) << output;

  // The key lines of each scenario, found after its heading "== N. " and before the next.
  const std::string input =
      "   olma.invoke.invalid.input<Invalid input for method: com.example.tasks.create_task>\n";
  const std::string scenarios[] = {
      "observer: Success (com.example.tasks.create_task, user ann)\n"
      "result: MR [SUCCESS] Output: {{ task : { id : 7, priority : 2, title : Write report, } }} \n",
      "result: MR [FAIL] Error: Error:\n   com.zorvex.olma.std.errors.unexpected_input\nMessages:\n" + input +
          "   olma.data.compound.field.missing<Missing field in compound: [priority] ",
      "   com.zorvex.olma.std.errors.invalid_argument\nMessages:\n" + input +
          "   olma.data.type.mismatch<Type mismatch: INTEGER != high>\n",
      "   com.zorvex.olma.std.errors.unexpected_input\nMessages:\n" + input +
          "   olma.data.compound.field.extra<Extra field in compound: [owner] ",
      "   com.example.tasks.errors.duplicate_title\nMessages:\n"
      "   com.example.tasks.duplicate<A task named 'Buy milk' exists already.>\n",
      "observer: Error (com.example.tasks.get_task, user ann)\n"
      "result: MR [FAIL] Error: Error:\n   com.zorvex.olma.std.errors.internal_server_error\nMessages:\n"
      "   olma.bindings.method.impl.unexpected<Unexpected error for method: com.example.tasks.get_task -> "
      "com.zorvex.olma.std.errors.unauthorized>\n   com.example.tasks.not.owner<Task 13 does not belong to "
      "ann.>\n",
      "   com.zorvex.olma.std.errors.internal_server_error\nMessages:\n"
      "   olma.invoke.invalid.output<Invalid output for method: com.example.tasks.count_tasks>\n"
      "   olma.data.compound.field.missing<Missing field in compound: [done] ",
      "   com.zorvex.olma.std.errors.operation_not_found\nMessages:\n"
      "   olma.async.api.interface.missing.method<Interface missing method: "
      "com.example.tasks[delete_task]>\n",
      "   com.zorvex.olma.std.errors.operation_not_found\nMessages:\n"
      "   olma.provider.interface.unknown<Unknown interface: com.example.notes>\n",
      "format: 12 tasks, 62.5% done, id 0000beef\n"
      "message: olma.data.bad.cast2 \"Bad cast: Long -> Double\"\n"
      "gzip+base64: 40 bytes -> 76 Base64 characters -> round trip intact\n",
  };
  std::size_t at = output.find(
      "com.example.tasks.create_task\nInput: {sd{ create_task_input : { priority : INTEGER, title : STRING, "
      "} }}  "
      "\nOutput: {sd{ task : ");
  ASSERT_NE(at, std::string::npos) << output;
  at = output.find("API checksum: ", at);
  ASSERT_NE(at, std::string::npos) << output;
  for (std::size_t i = 0; i < std::size(scenarios); ++i) {
    SCOPED_TRACE("scenario " + std::to_string(i + 1));
    at = output.find("\n== " + std::to_string(i + 1) + ". ", at);
    ASSERT_NE(at, std::string::npos) << output;
    at = output.find(scenarios[i], at);
    ASSERT_NE(at, std::string::npos) << "missing or out of order: " << scenarios[i] << "\nin:\n" << output;
  }
}

#else

TEST(Demo, EachScenarioShowsItsResult) {
  GTEST_SKIP() << "built without the examples";
}

#endif

}  // namespace
