// The tests' hand on sway, whose headless seat has no pointer of its own: Tarnvik's own virtual
// pointer, made once and kept, since a client learns of the seat's new pointer only after it is
// made and misses what comes before. Reads lines from standard input, answers each with "ok":
//   click X Y LAYOUT_WIDTH LAYOUT_HEIGHT
#include "platform/wlroots/WlrVirtualPointer.h"

#include <cstdio>
#include <iostream>
#include <linux/input-event-codes.h>
#include <sstream>
#include <string>

int main()
{
    auto pointer = tarnvik::wlroots::WlrVirtualPointer::connect();
    if (!pointer) {
        std::fputs("tarnvik-wlr-pointer: the compositor offers no virtual pointer\n", stderr);
        return 1;
    }
    std::cout << "ready" << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string command;
        double x = 0, y = 0, width = 0, height = 0;
        if (!(words >> command >> x >> y >> width >> height) || command != "click") {
            std::cout << "usage: click X Y LAYOUT_WIDTH LAYOUT_HEIGHT" << std::endl;
            continue;
        }
        pointer->moveTo({x, y}, tarnvik::makeRect(0, 0, width, height));
        pointer->press(BTN_LEFT, true);
        pointer->press(BTN_LEFT, false);
        std::cout << "ok" << std::endl;
    }
    return 0;
}
