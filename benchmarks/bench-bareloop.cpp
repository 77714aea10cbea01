// The least that an installation can be: fetches the files of a list one after the other over one
// connection, hashes, unpacks, hashes, writes, flushes and renames each. No window, no event loop,
// no framework, no protection against a hostile server; prints the seconds that it took.
// Arguments: host, port, list, folder. A line of the list holds, separated by tabs: path on the
// server, path in the folder, packed hash, unpacked hash, unpacked size.

#include <lzma.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <limits>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct Entry
{
    std::string url;
    std::string localfile;
    std::string packedHash;
    std::string unpackedHash;
    std::size_t unpackedSize = 0;
};

/// Bytes that nobody clears before they are overwritten.
struct Buffer
{
    std::unique_ptr<char[]> data;
    std::size_t size = 0;

    explicit Buffer(std::size_t length)
        : data(new char[length])
        , size(length)
    {}
};

[[noreturn]] void fail(const std::string& what)
{
    std::fprintf(stderr, "bench-bareloop: %s: %s\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

std::vector<Entry> readList(const char* path)
{
    std::ifstream list(path);
    std::vector<Entry> entries;
    for (std::string line; std::getline(list, line);) {
        std::istringstream fields(line);
        Entry entry;
        std::string size;
        std::getline(fields, entry.url, '\t');
        std::getline(fields, entry.localfile, '\t');
        std::getline(fields, entry.packedHash, '\t');
        std::getline(fields, entry.unpackedHash, '\t');
        std::getline(fields, size, '\t');
        entry.unpackedSize = std::stoull(size);
        entries.push_back(std::move(entry));
    }
    return entries;
}

class Connection
{
public:
    Connection(const char* host, const char* port)
        : m_host(host)
    {
        addrinfo hints{};
        hints.ai_socktype = SOCK_STREAM;
        addrinfo* found = nullptr;
        if (getaddrinfo(host, port, &hints, &found) != 0)
            fail("address");
        m_socket = socket(found->ai_family, found->ai_socktype, found->ai_protocol);
        const bool connected =
            m_socket >= 0 && connect(m_socket, found->ai_addr, found->ai_addrlen) == 0;
        freeaddrinfo(found);
        if (!connected)
            fail("connecting");
        const int on = 1;
        setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~Connection() { close(m_socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    Buffer get(const std::string& path)
    {
        const std::string request =
            "GET " + path + " HTTP/1.1\r\nHost: " + m_host + "\r\nConnection: Keep-Alive\r\n\r\n";
        if (send(m_socket, request.data(), request.size(), 0) != std::ssize(request))
            fail("sending");
        std::array<char, 65536> head{};
        std::size_t have = 0;
        std::size_t headEnd = std::string_view::npos;
        while (headEnd == std::string_view::npos) {
            have += receive(head.data() + have, head.size() - have);
            headEnd = std::string_view(head.data(), have).find("\r\n\r\n");
        }
        headEnd += 4;
        Buffer body(contentLength({head.data(), headEnd}));
        const std::size_t first = std::min(have - headEnd, body.size);
        std::memcpy(body.data.get(), head.data() + headEnd, first);
        for (std::size_t done = first; done < body.size;)
            done += receive(body.data.get() + done, body.size - done);
        return body;
    }

private:
    std::size_t receive(char* space, std::size_t size) const
    {
        const ssize_t count = recv(m_socket, space, size, 0);
        if (count <= 0)
            fail("receiving");
        return static_cast<std::size_t>(count);
    }

    static std::size_t contentLength(std::string_view head)
    {
        constexpr std::string_view name = "Content-Length: ";
        const std::size_t at = head.find(name);
        std::size_t length = 0;
        if (!head.starts_with("HTTP/1.1 200") || at == std::string_view::npos)
            fail("answer of the server");
        std::from_chars(head.data() + at + name.size(), head.data() + head.size(), length);
        return length;
    }

    std::string m_host;
    int m_socket = -1;
};

std::string sha256(const Buffer& bytes)
{
    std::array<unsigned char, 32> digest{};
    EVP_Digest(bytes.data.get(), bytes.size, digest.data(), nullptr, EVP_sha256(), nullptr);
    std::string text;
    for (const unsigned char byte : digest) {
        constexpr std::string_view digits = "0123456789abcdef";
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

Buffer unpack(const Buffer& packed, std::size_t size)
{
    Buffer out(size);
    lzma_stream stream = LZMA_STREAM_INIT;
    if (lzma_alone_decoder(&stream, std::numeric_limits<std::uint64_t>::max()) != LZMA_OK)
        fail("decoder");
    stream.next_in = reinterpret_cast<const std::uint8_t*>(packed.data.get());
    stream.avail_in = packed.size;
    stream.next_out = reinterpret_cast<std::uint8_t*>(out.data.get());
    stream.avail_out = out.size;
    if (lzma_code(&stream, LZMA_FINISH) != LZMA_STREAM_END || stream.avail_out != 0)
        fail("unpacking");
    lzma_end(&stream);
    return out;
}

void makeParents(const std::string& path, std::set<std::string>& made)
{
    for (std::size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
        const std::string folder = path.substr(0, at);
        if (made.insert(folder).second)
            mkdir(folder.c_str(), 0777);
    }
}

void write(const std::string& path, const Buffer& bytes)
{
    const std::string beside = path + ".new";
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0)
        fail(beside);
    for (std::size_t done = 0; done < bytes.size;) {
        const ssize_t count = ::write(file, bytes.data.get() + done, bytes.size - done);
        if (count < 0)
            fail("writing");
        done += static_cast<std::size_t>(count);
    }
    if (fdatasync(file) != 0 || close(file) != 0 || rename(beside.c_str(), path.c_str()) != 0)
        fail("writing");
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 5) {
        std::fprintf(stderr, "usage: bench-bareloop HOST PORT LIST FOLDER\n");
        return 2;
    }
    const std::vector<Entry> entries = readList(argv[3]);
    const std::string folder = std::string(argv[4]) + '/';
    const auto start = std::chrono::steady_clock::now();
    Connection connection(argv[1], argv[2]);
    std::set<std::string> made;
    for (const Entry& entry : entries) {
        const Buffer body = connection.get(entry.url);
        if (sha256(body) != entry.packedHash)
            fail("packed hash");
        const Buffer out = unpack(body, entry.unpackedSize);
        if (sha256(out) != entry.unpackedHash)
            fail("unpacked hash");
        makeParents(folder + entry.localfile, made);
        write(folder + entry.localfile, out);
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::printf("%.6f\n", took.count());
}
