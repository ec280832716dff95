#include <TarselIO/IPCTools.h>

#include <cstdio>
#include <cstdlib>

#include <boost/uuid/uuid_io.hpp>

#include <TarselIO/CoreException.h>
#include <TarselIO/Internal/DeviceUuid.h>
#include <TarselIO/Internal/Raise.h>

namespace Tarsel::Core
{
namespace
{

/// Returns a name from the system, in memory that the system allocated.
class SafeTempName
{
public:
    explicit SafeTempName(const std::string& prefix) : m_name(::tempnam(nullptr, prefix.c_str()))
    {
        if (m_name == nullptr)
        {
            Raise(CoreException() << ErrorDescription("Failed to generate temp name") << ErrorCallStack(GetCallStack()),
                  "Tarsel::Core::(anonymous namespace)::SafeTempName::SafeTempName(const std::string &)");
        }
    }

    ~SafeTempName() { std::free(m_name); }

    SafeTempName(const SafeTempName&) = delete;
    SafeTempName& operator=(const SafeTempName&) = delete;

    const char* Text() const { return m_name; }

private:
    char* m_name;
};

}  // namespace

std::string GenerateTempFileName()
{
    DeviceUuidGenerator generator;
    const SafeTempName name(boost::uuids::to_string(generator()));
    return name.Text();
}

std::string GeneratePipeName()
{
    return GenerateTempFileName();
}

}  // namespace Tarsel::Core
