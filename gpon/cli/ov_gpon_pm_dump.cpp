#include "ov_gpon_pm_dump.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kavo_table.h"
#include "table_desc.h"
#include "table_record.h"

namespace {

// ---- what the counters are called -----------------------------------------------------------------------

namespace pon = ponPmTable_column;
namespace nni = ponnniPmTable_column;
namespace onu = onuPmTable_column;
namespace gem = gemPmTable_column;

struct PmName {
    unsigned column;
    const char* name;
};

// In the order of the table, but what most operators look for first: traffic.
constexpr PmName PON[] = {
    {pon::ppmFecCodeWords, "fec code words"},
    {pon::ppmFecCodeWordsUncorrect, "fec code words uncorrectable"},
    {pon::ppmBip8Bytes, "bip8 bytes"},
    {pon::ppmBip8Errors, "bip8 errors"},
    {pon::ppmRxGemDropped, "rx gem dropped"},
    {pon::ppmRxGemIdle, "rx gem idle"},
    {pon::ppmRxGemCorrtected, "rx gem corrected"},
    {pon::ppmRxGemIllegal, "rx gem illegal"},
    {pon::ppmRxAllocationsValid, "rx allocations valid"},
    {pon::ppmRxAllocationsInvalid, "rx allocations invalid"},
    {pon::ppmRxAllocationsDisabled, "rx allocations disabled"},
    {pon::ppmRxPloams, "rx ploams"},
    {pon::ppmRxPloamsNonIdle, "rx ploams not idle"},
    {pon::ppmRxPloamsError, "rx ploams errors"},
    {pon::ppmRxPloamsDropped, "rx ploams dropped"},
    {pon::ppmRxCpu, "rx cpu packets"},
    {pon::ppmRxOmci, "rx omci packets"},
    {pon::ppmRxDroppedTooShort, "rx dropped too short"},
    {pon::ppmRxDroppedTooLong, "rx dropped too long"},
    {pon::ppmRxCrcErrors, "rx crc errors"},
    {pon::ppmRxKeyErrors, "rx key errors"},
    {pon::ppmRxFragmentsErrors, "rx fragment errors"},
    {pon::ppmRxPacketsDropped, "rx packets dropped"},
    {pon::ppmTxGem, "tx gem"},
    {pon::ppmTxPloams, "tx ploams"},
    {pon::ppmTxCpu, "tx cpu packets"},
    {pon::ppmTxOmci, "tx omci packets"},
    {pon::ppmTxDroppedIllegalLength, "tx dropped illegal length"},
    {pon::ppmTxDroppedTpidMiss, "tx dropped tpid miss"},
    {pon::ppmTxDroppedVidMiss, "tx dropped vid miss"},
};

constexpr PmName NNI[] = {
    {nni::ppmRxframes, "rx frames"},
    {nni::ppmRxBytes, "rx bytes"},
    {nni::ppmRxGoodframes, "rx good frames"},
    {nni::ppmRxUcastframes, "rx unicast frames"},
    {nni::ppmRxMcastframes, "rx multicast frames"},
    {nni::ppmRxBcastframes, "rx broadcast frames"},
    {nni::ppmRxframes64, "rx frames 64"},
    {nni::ppmRxframes65to127, "rx frames 65-127"},
    {nni::ppmRxframe128to255, "rx frames 128-255"},
    {nni::ppmRxframe256to511, "rx frames 256-511"},
    {nni::ppmRxframe512to1023, "rx frames 512-1023"},
    {nni::ppmRxframe1024to1518, "rx frames 1024-1518"},
    {nni::ppmRxframe1519o2047, "rx frames 1519-2047"},
    {nni::ppmRxframe2048to4095, "rx frames 2048-4095"},
    {nni::ppmRxframe4096to9216, "rx frames 4096-9216"},
    {nni::ppmRxframe9217to16638, "rx frames 9217-16638"},
    {nni::ppmRxFcsError, "rx fcs errors"},
    {nni::ppmRxCtrlframes, "rx control frames"},
    {nni::ppmRxPauseFrames, "rx pause frames"},
    {nni::ppmRxPfcframes, "rx pfc frames"},
    {nni::ppmRxUnsupportOpcode, "rx unknown opcodes"},
    {nni::ppmRxUnsupportDa, "rx unknown addresses"},
    {nni::ppmRxAlignError, "rx alignment errors"},
    {nni::ppmRxLenOutofrange, "rx length out of range"},
    {nni::ppmRxCodeErrors, "rx code errors"},
    {nni::ppmRxOversizeFrame, "rx oversize frames"},
    {nni::ppmRxJabberFrame, "rx jabber frames"},
    {nni::ppmRxMtuCheckerror, "rx mtu errors"},
    {nni::ppmRxPromiscuousFrame, "rx promiscuous frames"},
    {nni::ppmRxVlanFrames, "rx vlan frames"},
    {nni::ppmRxDoubleVlanFrames, "rx double vlan frames"},
    {nni::ppmRxtruncatedframes, "rx truncated frames"},
    {nni::ppmRxUndersizeframes, "rx undersize frames"},
    {nni::ppmRxFragmentframes, "rx fragment frames"},
    {nni::ppmRxRuntframes, "rx runt frames"},
    {nni::ppmTxFrames, "tx frames"},
    {nni::ppmTxBytes, "tx bytes"},
    {nni::ppmTxGoodFrames, "tx good frames"},
    {nni::ppmTxUcastFrames, "tx unicast frames"},
    {nni::ppmTxMcastFrames, "tx multicast frames"},
    {nni::ppmTxBcastFrames, "tx broadcast frames"},
    {nni::ppmTxFrame64, "tx frames 64"},
    {nni::ppmTxFrame65to127, "tx frames 65-127"},
    {nni::ppmTxFrame128to255, "tx frames 128-255"},
    {nni::ppmTxFrame256to511, "tx frames 256-511"},
    {nni::ppmTxFrame512to1023, "tx frames 512-1023"},
    {nni::ppmTxFrame1024to1518, "tx frames 1024-1518"},
    {nni::ppmTxFrame1519to2047, "tx frames 1519-2047"},
    {nni::ppmTxFrame2048to4095, "tx frames 2048-4095"},
    {nni::ppmTxFrame4096to9216, "tx frames 4096-9216"},
    {nni::ppmTxFrame9217to16638, "tx frames 9217-16638"},
    {nni::ppmTxPauseFrames, "tx pause frames"},
    {nni::ppmTxPfcFrames, "tx pfc frames"},
    {nni::ppmTxJabberFrames, "tx jabber frames"},
    {nni::ppmTxFcsErrors, "tx fcs errors"},
    {nni::ppmTxCtrlFrames, "tx control frames"},
    {nni::ppmTxOversizeFrames, "tx oversize frames"},
    {nni::ppmTxFragmentedFrames, "tx fragment frames"},
    {nni::ppmTxErrorFrames, "tx error frames"},
    {nni::ppmTxVlanFrames, "tx vlan frames"},
    {nni::ppmTxDoubleVlanFrames, "tx double vlan frames"},
    {nni::ppmTxRuntFrames, "tx runt frames"},
    {nni::ppmTxUnderrunFrames, "tx underrun frames"},
};

constexpr PmName ONU[] = {
    {onu::opmRxBytes, "rx bytes"},
    {onu::opmRxPackets, "rx packets"},
    {onu::opmTxBytes, "tx bytes"},
    {onu::opmTxPackets, "tx packets"},
    {onu::opmFecCodeWords, "fec code words"},
    {onu::opmFecBytesCorrected, "fec bytes corrected"},
    {onu::opmFecCodeWordsCorrected, "fec code words corrected"},
    {onu::opmFecCodeWordsUncorrected, "fec code words uncorrectable"},
    {onu::opmBip8Bytes, "bip8 bytes"},
    {onu::opmBip8Errors, "bip8 errors"},
    {onu::opmRxPloamsCrcError, "rx ploams crc errors"},
    {onu::opmRxPloamsNonIdle, "rx ploams not idle"},
    {onu::opmPositiveDrift, "positive drift"},
    {onu::opmNegativeDrift, "negative drift"},
    {onu::opmRxOmciPacketsCrcError, "rx omci crc errors"},
    {onu::opmBerReported, "ber reported"},
    {onu::opmUnreceivedBurst, "bursts not received"},
    {onu::opmLcdgErrors, "lcdg errors"},
    {onu::opmRdiErrors, "rdi errors"},
};

constexpr PmName GEM[] = {
    {gem::gpmRxPackets, "rx packets"},
    {gem::gpmRxBytes, "rx bytes"},
    {gem::gpmTxPackets, "tx packets"},
    {gem::gpmTxBytes, "tx bytes"},
};

// ---- a table of them ------------------------------------------------------------------------------------

// Room for 64 bits.
constexpr kavo_column_t COUNTER = {"counter", -30};
constexpr kavo_column_t VALUE = {"value", 20};

constexpr kavo_column_t OF_PORT[] = {{"port", -10}, COUNTER, VALUE};
constexpr kavo_column_t OF_ONU[] = {{"onu", -10}, COUNTER, VALUE};
constexpr kavo_column_t OF_GEM[] = {{"onu", -10}, {"gem", 3}, COUNTER, VALUE};

template <typename Row>
std::string port_text(const Row& row) {
    return std::to_string(row.slotID) + "/" + std::to_string(row.portID);
}

template <typename Row>
std::string onu_text(const Row& row) {
    return port_text(row) + ":" + std::to_string(row.onuId);
}

// `object`: the cells in front of each counter.
void dump(struct vty* vty, std::span<const kavo_column_t> columns, const std::vector<kavo_cell_t>& object,
          const TableDesc& desc, const void* row, std::span<const PmName> counters) {
    const kavo_table_t table(vty, columns);
    table.line("%s", "");
    table.heading();
    table.rule();
    for (const PmName& counter : counters) {
        std::vector<kavo_cell_t> cells = object;
        const auto place = desc.column(static_cast<int>(counter.column))->offset;
        cells.insert(cells.end(), {counter.name, record_get<uint64_t>(row, place)});
        table.row(cells);
    }
}

} // namespace

void dump_cli_pm_pon_table(struct vty* vty, const ov_ponPmTable_attr_t& row) {
    dump(vty, OF_PORT, {port_text(row)}, table_desc_ponPmTable, &row, PON);
}

void dump_cli_pm_nni_table(struct vty* vty, const ov_ponnniPmTable_attr_t& row) {
    dump(vty, OF_PORT, {port_text(row)}, table_desc_ponnniPmTable, &row, NNI);
}

void dump_cli_pm_onu_table(struct vty* vty, const ov_onuPmTable_attr_t& row) {
    dump(vty, OF_ONU, {onu_text(row)}, table_desc_onuPmTable, &row, ONU);
}

void dump_cli_pm_gem_table(struct vty* vty, const ov_gemPmTable_attr_t& row) {
    dump(vty, OF_GEM, {onu_text(row), row.gemID}, table_desc_gemPmTable, &row, GEM);
}
