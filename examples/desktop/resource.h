// The names that the resources and the sources share; the resource compiler knows no other constants than macros.
// SPDX-License-Identifier: MIT
#pragma once

#define IDD_CREDENTIALS 200
#define IDC_QUESTION 201
#define IDC_USER 202
#define IDC_PASSWORD 203
