#include <dlfcn.h>
#include <fcntl.h>
#include <service/cim_access.h>
#include <service/errno_text.h>
#include <service/file_descriptor.h>
#include <sys/stat.h>

#include <array>
#include <cstdlib>

namespace service {

namespace {

// What only the bundled CIM client has (CimClientLib/cimgate_local.h). It is looked up, since the
// library of that name on a controller may be another one.
struct BundledClient
{
    int (*setUrl)(const char* url);
    int (*setCredentials)(const char* user, const char* password);
    int (*setCa)(const char* file);

    bool isThere() const
    {
        return setUrl != nullptr && setCredentials != nullptr && setCa != nullptr;
    }
};

template <typename Function>
void find(const char* name, Function*& function)
{
    function = reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

BundledClient bundledClient()
{
    BundledClient client{};
    find("cimgate_cmpisfcc_set_local_url", client.setUrl);
    find("cimgate_cmpisfcc_set_local_credentials", client.setCredentials);
    find("cimgate_cmpisfcc_set_local_ca", client.setCa);
    return client;
}

// The first line of a file that only its owner may read.
std::string readPassword(const std::string& path, std::string& problem)
{
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status
    {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0) {
        problem = "cannot be read: " + errnoText();
        return "";
    }
    if (!S_ISREG(status.st_mode)) {
        problem = "is no file";
        return "";
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        problem = "may be used by others than its owner; chmod 600 it";
        return "";
    }
    std::array<char, kMaxPasswordBytes + 1> text{};
    const ssize_t bytes = read(file.get(), text.data(), text.size());
    const std::string_view content(text.data(), bytes > 0 ? static_cast<size_t>(bytes) : 0);
    std::string password(content.substr(0, content.find_first_of("\r\n")));
    if (password.empty() || password.size() > kMaxPasswordBytes ||
        password.find('\0') != std::string::npos) {
        problem = "does not begin with a line of 1 to " + std::to_string(kMaxPasswordBytes) +
                  " bytes, the password";
        return "";
    }
    return password;
}

bool setCredentials(const BundledClient& client, const CimAccess& access, std::string& problem)
{
    if (access.user.empty() != access.passwordFile.empty()) {
        problem = "--cim-user and --cim-password-file belong together; give both or none";
        return false;
    }
    std::string password;
    if (!access.user.empty()) {
        password = readPassword(access.passwordFile, problem);
    }
    if (!problem.empty()) {
        problem = "--cim-password-file " + access.passwordFile + " " + problem;
        return false;
    }
    if (client.setCredentials(access.user.c_str(), password.c_str()) != 0) {
        problem = "--cim-user " + access.user + ": give a name without a colon";
        return false;
    }
    return true;
}

bool setPlace(const BundledClient& client, const CimAccess& access, std::string& problem)
{
    if (!access.caFile.empty() && client.setCa(access.caFile.c_str()) != 0) {
        problem = "--cim-ca " + access.caFile + " cannot be read";
        return false;
    }
    if (!access.url.empty() && client.setUrl(access.url.c_str()) != 0) {
        problem = "--cim " + access.url +
                  ": give http://HOST:PORT, https://HOST:PORT or the path of a Unix socket";
        return false;
    }
    return true;
}

// SFCC goes by the environment alone. It would speak HTTP, to a host of the name that means the
// local object manager, and would not miss one that is away.
bool prepareSfcc(const CimAccess& access, std::string& problem)
{
    (void)::setenv("SFCC_CLIENT", "SfcbLocal", 0); // NOLINT(concurrency-mt-unsafe): no threads yet
    const std::pair<const char*, const std::string&> refused[] = {
        {"--cim", access.url}, {"--cim-user", access.user}, {"--cim-ca", access.caFile}};
    for (const auto& [option, value] : refused) {
        if (!value.empty()) {
            problem = std::string(option) + " " + value +
                      ": the CIM client library in use reaches the controller's own object "
                      "manager only; leave the option out";
            return false;
        }
    }
    return true;
}

} // namespace

std::vector<cli::Option> cimOptions(CimAccess& access, const std::string& purpose)
{
    return {
        {"--cim", "URL",
         purpose + ": http://HOST:PORT, https://HOST:PORT or the path of a Unix socket",
         cli::text(access.url), "the local one, http://127.0.0.1:5988"},
        {"--cim-user", "NAME", "who asks the object manager", cli::text(access.user),
         "nothing is said of that"},
        {"--cim-password-file", "FILE",
         "that user's password, in the first line; readable by its owner only",
         cli::text(access.passwordFile), "none"},
        {"--cim-ca", "FILE", "authorities (PEM) to check an https object manager against",
         cli::text(access.caFile), "the system's"},
    };
}

bool prepareCim(const CimAccess& access, std::string& problem)
{
    const BundledClient client = bundledClient();
    if (!client.isThere()) {
        return prepareSfcc(access, problem);
    }
    return setPlace(client, access, problem) && setCredentials(client, access, problem);
}

} // namespace service
