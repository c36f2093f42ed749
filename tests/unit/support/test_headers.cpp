// Has the headers that all test programs read compiled once: cmake/GponBuild.cmake.
