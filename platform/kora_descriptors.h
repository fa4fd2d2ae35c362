// Keeps what this process opens off the descriptors of its standard streams.
#ifndef KORA_DESCRIPTORS_H
#define KORA_DESCRIPTORS_H

namespace kora {

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
