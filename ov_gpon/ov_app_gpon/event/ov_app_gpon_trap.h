// What the line cards report by themselves: dispatch to the application modules. Event loop's thread.
//
// A body is an action word, a mask word and the record of the message's type. A body too short for its
// record, and an action that a message doesn't take, are dropped without a word; nothing is read past the
// body's end.
#pragma once

// Takes a message of a line card: its type, the body, and the message's length in bytes (the 16 bytes of the
// message's head in front of the body are counted). Always 0: a message that nobody wants is dropped.
unsigned ov_hal_gpon_msg_recv(unsigned type, void* buf, unsigned len);

// The handlers, with the body and the length as above.
void ov_hal_gpon_uncfg_onu_msg(const void* buf, unsigned len);               // create, delete
void ov_hal_gpon_wn_trap_msg(const void* buf, unsigned len);                 // set
void ov_hal_gpon_onu_states_trap_msg(const void* buf, unsigned len);         // set
void ov_hal_gpon_onu_autolearn_msg(const void* buf, unsigned len);           // create
void ov_hal_gpon_pon_protect_status_trap_msg(const void* buf, unsigned len); // set
