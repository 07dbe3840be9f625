// SPDX-License-Identifier: MIT
#include "vrp/ui/credentials.h"

#include "vrp/core/VrpMain.h"
#include "vrp/settings/stored_credentials.h"
#include "vrp/ui/ProxyUserPasswordDialog.h"
#include "vrp/ui/UserPasswordDialog.h"
#include "vrp/ui/modal_run.h"

int VrpsGetIdentPassword()
{
    VrpMain *run = VrpsGetMain();
    VrpsGetIdentPasswordFromRegistry();
    while (run->ident.empty() || run->password.empty()) {
        run->password.clear();
        VrpsSetIdentPasswordToRegistry();
        UserPasswordDialog dialog;
        if (runModally(dialog) != 0) {
            return 1;
        }
    }
    return 0;
}

int VrpsAskProxy()
{
    // It is the server's password that is cleared, not the proxy's, on purpose.
    VrpsGetMain()->password.clear();
    VrpsSetProxyToRegistry(true, true);
    ProxyUserPasswordDialog dialog;
    return runModally(dialog);
}
