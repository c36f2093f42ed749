// What lies behind an ONU, for tests: an ONU of slot 3, whose card a test scripts, with UNIs of every kind,
// and a service profile with the same.
#pragma once

#include "onu_fixture.h"

#include "sRmInfoTable.h"
#include "sRmOnuCapaTable.h"
#include "sRmUniPmTable.h"
#include "sRmUniStatusTable.h"
#include "sRmUniVlanTable.h"

class RemoteCli : public OnuCli {
protected:
    using Status = ov_sRmUniStatusTable_attr_t;
    using Vlan = ov_sRmUniVlanTable_attr_t;
    using Pm = ov_sRmUniPmTable_attr_t;
    enum Kind { ETH, POTS, VEIP, VIDEO };

    RemoteCli() {
        add_interface("gpon-olt3/2");
        stand_on(far_port_, IF_GPON_NODE, "gpon-olt3/2");
        stand_on(far_, GPON_ONU_NODE, "gpon-onu3/2:7");
        add_operational(7);
        add_profile(5, "five", "KLM-618");
        add_unis(31, 15, 5);
    }

    // An ONU of the port that is up, with its rows.
    ov_sOnuTable_attr_t& add_operational(int onu) {
        auto& row = add_onu(3, 2, onu);
        row.sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
        set(row.sOnuTableOnuTypeProfileName, "KLM-618");
        active(sRmInfoTable_createEntry(1, 3, 2, onu));
        active(sRmOnuCapaTable_createEntry(1, 3, 2, onu));
        add_unis(3, 2, onu);
        return row;
    }
    static void add_uni(int slot, int port, int onu, int card, Kind kind, int uni) {
        active(sRmUniStatusTable_createEntry(1, slot, port, onu, card, kind, uni));
        active(sRmUniVlanTable_createEntry(1, slot, port, onu, card, kind, uni));
    }
    static void add_unis(int slot, int port, int onu) {
        for (int uni = 1; uni <= 2; uni++)
            add_uni(slot, port, onu, 1, ETH, uni);
        add_uni(slot, port, onu, 1, POTS, 1);
        add_uni(slot, port, onu, 1, VEIP, 1);
        add_uni(slot, port, onu, 1, VIDEO, 1);
    }

    template <typename Row>
    static Row* uni(Kind kind = ETH, int port = 1, int slot = 3, int pon = 2, int onu = 7) {
        auto key = onu_key<Row>(slot, pon, onu);
        key.onuCardID = 1;
        key.onuPortType = kind;
        key.onuPortID = static_cast<mib_ulong>(port);
        return const_cast<Row*>(find_row(key));
    }

    FrrSession far_port_{IF_GPON_NODE};
    FrrSession far_{GPON_ONU_NODE};
    FrrSession config_{CONFIG_NODE};
};
