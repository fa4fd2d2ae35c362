// What this process opens: closed again, and off the descriptors of its standard streams.
#ifndef KORA_DESCRIPTORS_H
#define KORA_DESCRIPTORS_H

namespace kora {

// Closed when it ends, and errno stays what it was.
struct Descriptor {
    explicit Descriptor(int opened) : fd(opened) {}
    ~Descriptor();
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int fd;
};

// For as long as it lives no file opened by this process gets one of the descriptors 0 to 2, which a host that closed
// them may take for its own output.
class StandardDescriptors {
public:
    StandardDescriptors();
    ~StandardDescriptors();
    StandardDescriptors(const StandardDescriptors &) = delete;
    StandardDescriptors &operator=(const StandardDescriptors &) = delete;

private:
    static constexpr int COUNT = 3;
    bool is_ours_[COUNT] = {};
};

}  // namespace kora

#endif
