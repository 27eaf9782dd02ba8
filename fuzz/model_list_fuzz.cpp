// The reading of a model list: whatever the file holds, it is read or refused with a reason.
//
// Input: the file.

#include "fuzz/harness.h"
#include "refhost/models/model_list_file.h"

#include <sys/mman.h>
#include <unistd.h>

using namespace corvane;

namespace {

// A file in memory that has a name.
class CMemoryFile {
public:
    CMemoryFile() : descriptor_(memfd_create("models", 0)) {
        fuzz::Require(descriptor_ >= 0, "a file in memory can be had");
    }

    std::string name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

    void fill(const std::uint8_t* data, std::size_t size) {
        fuzz::Require(ftruncate(descriptor_, 0) == 0, "the file can be emptied");
        fuzz::Require(pwrite(descriptor_, data, size, 0) == static_cast<ssize_t>(size),
                      "the file can be written");
    }

private:
    const int descriptor_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    file.fill(data, size);
    try {
        const auto list = refhost::LoadModelList(file.name());
        for (const auto& [number, model] : list->getModels()) {
            fuzz::Require(model.number == number && list->findModel(number) == &model, "models by number");
            fuzz::Require(list->findFamily(model.family) != nullptr, "a model's family exists");
        }
    } catch (const refhost::CModelListError& refused) {
        fuzz::Require(std::string(refused.what()).find(file.name()) == 0, "the reason begins with the file");
    }
    return 0;
}
