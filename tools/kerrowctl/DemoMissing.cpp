// demo when the simulator is not part of the build.
#include "Ctl.h"

namespace kerrowctl {

void addDemoCommand(CLI::App& app, Context&, Action& action) {
    app.add_subcommand("demo", "walk through every capability against kerrow-sim (not built)")
        ->callback([&] {
            action = [] { throw Failure(kDemoFailed, "built without the simulator (kerrow_sim)"); };
        });
}

}  // namespace kerrowctl
