#include "bench/peers/task.h"

namespace peers {

std::string Task::name() const {
    static const char* const suffix[] = {"",          " dup",      " ave",      " med",
                                         " line dup", " line ave", " bilinear", " median"};
    const std::string method_name = suffix[static_cast<int>(method)];
    if (is_field()) return std::string("field ") + from().name + method_name;
    return std::string(from().name) + " to " + to().name + method_name;
}

const std::vector<Task>& all_tasks() {
    static const std::vector<Task> tasks = {
#define TRV_TASK(family, from, to, method) {family, Code::from, Code::to, Method::method},
#include "bench/peers/tasks.inc"
    };
    return tasks;
}

}  // namespace peers
