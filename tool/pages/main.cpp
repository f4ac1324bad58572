// pages man|completion: prints what the build installs beside the tool.
#include <cstring>
#include <iostream>

#include "tool/cli/application.h"
#include "tool/pages/completion.h"
#include "tool/pages/manual.h"

int main(int count, char** words) {
    const auto app = trv::tool::make_application();
    if (count == 2 && std::strcmp(words[1], "man") == 0)
        std::cout << trv::tool::pages::manual(app.get());
    else if (count == 2 && std::strcmp(words[1], "completion") == 0)
        std::cout << trv::tool::pages::completion(app.get());
    else
        return 2;
    return std::cout.flush() ? 0 : 1;
}
