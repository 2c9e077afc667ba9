// The example "tasks" service: a small to-do store published as the interface
// "com.example.tasks", the way a service author writes one by hand.
//
//   create     {"title": string, "priority"?: integer, "tags"?: [string]} -> task
//   get        {"id": integer}                       -> task, or "com.example.errors.not_found"
//   list       {}                                    -> [task]
//   count      {}                                    -> integer
//   slow_count {"steps": integer}                    -> integer, after reporting progress once
//                                                       per step (50 ms each, on a worker)
//   stats      {}                                    -> {"user": string, "tasks": integer};
//                                                       needs Basic credentials (demo/demo-pass)
//                                                       or a Bearer JWT signed with the demo
//                                                       HS256 secret, else
//                                                       "com.zorvex.olma.std.errors.unauthenticated"
// A task is {"id", "title", "priority", "tags", "created"} with "created" a date-time text.
#pragma once

#include <memory>
#include <string>

#include "olma/provider/async_api_interface.h"

namespace example {

// The HS256 secret the demonstration signs its tokens with. A real service reads its keys
// from configuration; this one is published so that the demo can make a token.
inline constexpr const char* kDemoJwtSecret = "olma-demo-secret-for-hs256-tokens";

// The interface over a fresh, empty store. Handlers are thread-safe; the slow method's
// worker thread lives as long as the interface.
Olma::Provider::AsyncApiInterface::PtrConstType MakeTasksInterface();

}  // namespace example
