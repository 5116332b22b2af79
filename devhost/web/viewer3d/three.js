// three.js as npm installed it beside the page (devhost/web/package.json),
// served by the program. Named by path: the page's content policy takes no
// inline script, so there is no import map for a bare "three".
export * from '../node_modules/three/build/three.module.js';
