// Images, byte for byte, of what leaves the process: the same on every processor.
#pragma once

// Every record of the messages to line cards, with a different value in every byte of every field, to
// standard output: "ov_gpon_tcont_attr_t 0a000001...".
void print_record_images();

// A file of each table in a directory that exists: rows with the smallest and the largest values of every
// column. 0, or what main returns.
int save_table_images(const char* directory);

// Loads the files of all tables in a directory and saves them again. 0, or what main returns.
int resave_tables(const char* directory);
