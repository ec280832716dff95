// Replaces libFuzzer: runs the fuzzer on the files that are its arguments.

#include <iostream>
#include <unistd.h>

#include <Support/Input.h>
#include <Support/TemporaryDirectory.h>

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        std::cout << argv[i] << std::endl;  // at once: the input may end the process
        const std::string content = TemporaryDirectory::Content(argv[i]);
        Input input(reinterpret_cast<const uint8_t*>(content.data()), content.size());
        ::alarm(30);  // seconds, after which a hanging process ends
        Fuzz(input);
    }
    return argc > 1 ? 0 : 1;
}
