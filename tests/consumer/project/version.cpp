// Tells the version of the headers it is compiled with, and of the library it runs with.
#include "libvekutil/version.h"

#include <iostream>
#include <string>

int main() {
    std::cout << "headers " << VEKTRACE_VERSION_STRING << "\nlibrary " << vektraceVersion() << '\n';
    const bool sameText = std::string(VEKTRACE_VERSION_STRING) == vektraceVersion();
    const bool sameNumber = VEKTRACE_VERSION_NUMBER == vektraceVersionNumber();
    return sameText == sameNumber ? 0 : 1;
}
