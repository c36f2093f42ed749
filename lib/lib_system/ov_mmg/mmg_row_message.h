// What the store prints of rows, for who knows of many without asking for each.
#pragma once

// What row_add prints of a row that exists already, for so many of them. Flushes standard output.
void row_tell_existed(unsigned rows);
