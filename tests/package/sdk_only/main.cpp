// Includes the library's installed headers, listed by the package test in HEADERS.
#include HEADERS
