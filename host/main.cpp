#include "host/commands.hpp"

int main(int argc, char** argv) {
    return ferrow::runFerrow(argc, argv);
}
