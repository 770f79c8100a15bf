// SPDX-License-Identifier: Apache-2.0

// Nothing is wrong with it but its name.
