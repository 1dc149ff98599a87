#include "platform/ui/Application.h"

int main(int argc, char** argv) {
    return platform::ApplicationMain(argc, argv, {});
}
