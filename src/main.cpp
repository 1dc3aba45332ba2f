#include "app/start.h"

#include <string>
#include <vector>

int main(int argc, char** argv) {
    return Start::Main(std::vector<std::string>(argv + 1, argv + argc));
}
