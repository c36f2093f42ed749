// The upload of a table as it is now. What is stored stays stored: the file is set aside, and comes back.
#include <array>
#include <cstdlib>
#include <string>

#include "ov_app_gpon_action_transfer.h"
#include "ov_app_gpon_action_type.h"
#include "ov_command.h"
#include "ov_file.h"
#include "ov_product_log.h"
#include "ov_product_transfer.h"
#include "table_module.h"

namespace {

constexpr char LOG_TAG[] = "MMG";
constexpr long FIRST_CODE = 1000;

constexpr const char* TABLES[] = {
#define ACTION_TABLE(name) #name,
#include "action_tables.def"
#undef ACTION_TABLE
};

bool run(std::initializer_list<const char*> argv) {
    return ov_command_run(argv, {.quiet = true, .limit = ov_product_transfer_limit()}) == 0;
}

bool move(const std::string& from, const std::string& to) {
    return run({"mv", from.c_str(), to.c_str()});
}

// Writes the table now, in place of the file that was set aside, and moves what was written away.
class Snapshot {
public:
    explicit Snapshot(const std::string& name)
        : module_(table_module_find(name.c_str())), file_(action_mib_file(name + ".mib")),
          aside_(file_ + ".bak") {}

    bool move_to(const std::string& place) {
        const unsigned saves = saves_so_far();
        if (!move(file_, aside_))
            return false;
        if (module_ != nullptr)
            module_->save_file();
        const bool moved = move(file_, place);
        const bool back = move(aside_, file_);
        // Somebody else has saved the table meanwhile, and would find what was stored before.
        if (saves_so_far() > saves + 1)
            module_->save_file();
        return moved && back;
    }

private:
    unsigned saves_so_far() const { return module_ != nullptr ? module_->saves() : 0; }

    TableModule* module_; // null for a dormant table, which has nothing to write
    std::string file_;
    std::string aside_;
};

int refuse(const char* text) {
    OV_LOG_ERROR(LOG_TAG, "%s", text);
    return 1;
}

} // namespace

const char* ov_app_gpon_action_table_name(long code) {
    const long place = code - FIRST_CODE;
    return place >= 0 && place < static_cast<long>(std::size(TABLES)) ? TABLES[place] : nullptr;
}

int upload_table(const ActionRow* pmib_attr) {
    if (pmib_attr->sActionParam4[0] == '\0')
        return refuse("lack of parameter!");
    char* end = nullptr;
    const char* name = ov_app_gpon_action_table_name(std::strtol(pmib_attr->sActionParam4, &end, 10));
    if (name == nullptr || *end != '\0')
        return refuse("wrong table index!");
    const std::string staged = std::string(OV_STAGING_DIR) + "/" + name + ".mib";
    if (!Snapshot(name).move_to(staged))
        return 1;
    const OvTftpServer server = {pmib_attr->sActionParam1, pmib_attr->sActionParam2};
    if (ov_product_tftp_put(server, staged, pmib_attr->sActionParam3) != 0)
        return 1;
    return run({"rm", staged.c_str(), "-f"}) ? 0 : 1;
}

int action_upload_table(ActionWork& work) {
    return upload_table(&work.row);
}
