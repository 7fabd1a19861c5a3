#include "host/acting/example.h"

#include <cstring>
#include <sstream>

// "--name value --name 'value of words'"
std::vector<GivenOption> ExampleOptions(const DialogTemplate &table)
{
    std::vector<GivenOption> options;
    std::istringstream words(table.example);
    for (GivenOption option; words >> option.name;) {
        words >> std::ws;
        if (words.peek() != '\'') {
            words >> option.value;
        } else {
            words.get();
            std::getline(words, option.value, '\'');
        }
        option.name.erase(0, strlen("--"));
        options.push_back(option);
    }
    return options;
}
