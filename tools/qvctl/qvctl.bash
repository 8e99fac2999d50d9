# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Completion of qvctl in bash. The program itself knows its verbs and options.
source <(qvctl completion bash)
