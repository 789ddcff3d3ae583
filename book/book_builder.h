#pragma once
// Building a book from games ("mkbook"). Reads "book.pgn" from the working
// directory, replays the first 50 plies of every game, counts for each
// position reached how the game ended for the side to move there, and writes
// "book.opn" in book order, dropping positions reached in 8 games or fewer.
//
// Records gather in a sorted buffer of 20000; every 200 games the buffer is
// merged into "tmp.opn", every 5000 games "tmp.opn" into "book.opn" (each merge
// writes "tmp__0.opn" and renames it), so memory stays small however long the
// game file. Progress: "." per buffer merge, "merging..." per book merge, then
// "pruning..." and "done".

namespace vorn {

// Switches the probing book off for the rest of the run (its file name is
// emptied), then builds the book. Returns false, having built nothing, when
// "book.pgn" cannot be opened or the record buffer cannot be allocated.
bool build_book();

}  // namespace vorn
