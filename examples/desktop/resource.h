// The names shared by resources and sources; macros are the only constants that the resource compiler supports.
// SPDX-License-Identifier: MIT
#pragma once

#define IDD_CREDENTIALS 200
#define IDC_QUESTION 201
#define IDC_USER 202
#define IDC_PASSWORD 203
