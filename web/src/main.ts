// SPDX-License-Identifier: Apache-2.0
import './style/tokens.css';
import './style/page.css';
import './style/parts.css';
import './console.js';
